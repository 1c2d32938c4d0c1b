#include "components/delay_memory.h"

#include <new>

#include "base/list.h"
#include "base/number_format.h"
#include "expr/number_text.h"

namespace qz3 {

void CDelay::Clear() {
    m_Blocks.clear();
    m_Spare.reset();
    m_Count = m_Read = 0;
}

bool CDelay::Add(double t, double a, double b) {
    const int slot = m_Count % kBlockSamples;
    if (slot == 0) {
        std::unique_ptr<double[]> block = std::move(m_Spare);
        if (!block) block.reset(new (std::nothrow) double[static_cast<size_t>(kBlockSamples) * m_Width]);
        if (!block) return false;
        m_Blocks.push_back(std::move(block));
    }
    double* sample = m_Blocks.back().get() + static_cast<size_t>(slot) * m_Width;
    sample[0] = t;
    sample[1] = a;
    if (m_Width == 3) sample[2] = b;
    ++m_Count;
    return true;
}

const double* CDelay::Sample(int index) const {
    return m_Blocks[static_cast<size_t>(index / kBlockSamples)].get() +
           static_cast<size_t>(index % kBlockSamples) * m_Width;
}

void CDelay::Get(double t, double* a, double* b) {
    if (m_Count == 0) {
        *a = 0.0;
        if (b) *b = 0.0;
        return;
    }
    for (;;) {
        const double* s = Sample(m_Read);
        *a = s[1];
        if (b) *b = m_Width == 3 ? s[2] : 0.0;
        if (m_Read + 1 >= m_Count || s[0] >= t) return;
        const double* n = Sample(m_Read + 1);
        if (n[0] > t) {
            const double share = (t - s[0]) / (n[0] - s[0]);
            *a = s[1] + (n[1] - s[1]) * share;
            if (b && m_Width == 3) *b = s[2] + (n[2] - s[2]) * share;
            return;
        }
        // The first block is spent once the read position leaves it.
        if (++m_Read == kBlockSamples) {
            if (!m_Spare) m_Spare = std::move(m_Blocks.front());
            m_Blocks.erase(m_Blocks.begin());
            m_Count -= kBlockSamples;
            m_Read = 0;
        }
    }
}

std::string CDelay::Text() const {
    std::string text;
    for (int i = m_Read; i < m_Count; ++i) {
        const double* s = Sample(i);
        for (int j = 0; j < m_Width; ++j) {
            if (!text.empty()) text += ' ';
            text += s[j] == 0.0 ? std::string("0") : DoubleToHex(s[j]);
        }
    }
    return text;
}

void CDelay::Load(const std::string& text) {
    Clear();
    TStringList items;
    items.Split(text, ' ');
    double sample[3] = {0.0, 0.0, 0.0};
    int filled = 0;
    for (int i = 0; i < items.Count(); ++i) {
        if (items[i].empty()) continue;
        sample[filled++] = items[i] == "0" ? 0.0 : HexToDouble(items[i].c_str());
        if (filled < m_Width) continue;
        Add(sample[0], sample[1], sample[2]);
        filled = 0;
    }
}

}  // namespace qz3
