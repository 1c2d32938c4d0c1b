#include "components/block_names.h"

#include "base/list.h"
#include "components/custom_type.h"

namespace qz3 {

namespace {

std::string Trimmed(const std::string& s) {
    const size_t first = s.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return s.substr(first, s.find_last_not_of(" \t") - first + 1);
}

uint32_t RowMask(int count) { return count >= 32 ? 0xFFFFFFFFu : (1u << count) - 1u; }

}  // namespace

std::vector<std::string> NameItems(const std::string& list) {
    TStringList items;
    items.Split(list, ',');
    std::vector<std::string> out;
    for (const std::string& item : items) out.push_back(Trimmed(item));
    return out;
}

std::vector<std::string> NamesOrNumbered(const std::string& list, int count, const std::string& unnamed) {
    std::vector<std::string> items = NameItems(list);
    items.resize(static_cast<size_t>(count));
    for (int k = 0; k < count; ++k)
        if (items[static_cast<size_t>(k)].empty()) items[static_cast<size_t>(k)] = unnamed + std::to_string(k + 1);
    return items;
}

CBlockNames NameBlockPins(const std::vector<std::string>& ins, const std::vector<std::string>& outs, int inputs,
                          int outputs, int pinCount) {
    CBlockNames result;
    result.inputs = inputs;
    result.outputs = outputs;
    result.clocked = pinCount == inputs + outputs + 1;
    for (int pin = 0; pin < pinCount; ++pin) {
        std::string name;
        if (pin < inputs) {
            name = pin < static_cast<int>(ins.size()) ? ins[static_cast<size_t>(pin)] : std::string();
            if (name.empty()) name = "unnamed_in_" + std::to_string(pin + 1);
        } else if (pin < inputs + outputs) {
            const int k = pin - inputs;
            name = k < static_cast<int>(outs.size()) ? outs[static_cast<size_t>(k)] : std::string();
            if (name.empty()) name = "unnamed_out_" + std::to_string(pin + 1);
        } else {
            name = "clk";
        }
        result.names.push_back(name);
    }
    return result;
}

void PlaceDefaultPins(CCustomElemType& box, int inputs, int outputs) {
    bool drawn = box.m_Top != 0 || box.m_Bottom != 0;
    for (int i = 0; i < CCustomElemType::kSideWords; ++i) drawn = drawn || box.m_Left[i] != 0 || box.m_Right[i] != 0;
    if (drawn) return;
    box.m_Left[0] = RowMask(inputs);
    box.m_Right[0] = RowMask(outputs);
    box.m_H = (inputs > outputs ? inputs : outputs) + 1;
}

}  // namespace qz3
