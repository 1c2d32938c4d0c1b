#include "components/elem_x.h"

#include "components/custom_type.h"
#include "components/sub_cir.h"
#include "expr/state_text.h"

namespace qz3 {

const CModelInfo kModelsX[] = {{"SubCir", ModelId::SubCir, nullptr, 0, 0, kReadV}, {}};

CElemX::CElemX(const CCmpType* typeDescriptor) : CCmp(typeDescriptor) {
    if (type != TypeId::CircuitBlock) return;
    MakeCustom();
    custom->m_Ins = "x1,x2,x3";
    custom->m_Left[0] = 7;
    EndCustom();
}

void CElemX::BeginCustom() {
    if (HasBox()) MakeCustom();
}

void CElemX::EndCustom() {
    AdoptCustomPins();
    SubCircuit().SetPins(pinCount);
    if (type == TypeId::CircuitBlock) NamePinsFromBox();
}

void CElemX::NamePinsFromBox() {
    CSubCir& sub = SubCircuit();
    sub.FixPins(pinCount);
    const std::string& names = custom->m_Ins;
    for (int i = 0; i < pinCount && i < ListCount(names); ++i)
        sub.m_Labels[static_cast<size_t>(i)] = TrimBlanks(ListItem(names, i));
}

}  // namespace qz3
