#include "xml/settings.h"

#include <algorithm>

#include "xml/xml_node.h"

namespace qz3 {

void CTranSettings::Xml(CXmlNode& node) {
    m_Start = node.Dbl("start", m_Start);
    m_Screen = node.Dbl("screen", m_Screen);
    m_Step = node.Dbl("step", m_Step);
    m_PauseTrigger = node.Bool("pause_trigger", m_PauseTrigger);
    m_PauseTriggerF = node.Str("pause_trigger_f", m_PauseTriggerF);
    m_StartTrigger = node.Bool("start_trigger", m_StartTrigger);
    m_StartTriggerF = node.Str("start_trigger_f", m_StartTriggerF);
}

void CACSettings::Xml(CXmlNode& node) {
    m_Type = node.Int("type", m_Type);
    m_List = node.Str("list", m_List);
    m_Test = node.Str("test", m_Test);
    m_From = node.Dbl("from", m_From);
    m_To = node.Dbl("to", m_To);
    m_Points = node.Int("points", m_Points);
    m_Scale = node.Int("scale", m_Scale);
    m_Id = node.Int("id", m_Id);
    m_Alg = node.Int("alg", m_Alg);
    if (!node.m_bWrite && m_Alg == kAlgZTransform) {
        node.SetError("Z-transform method not supported");
        m_Alg = 0;
    }
    m_DCOP = node.Bool("dcop", m_DCOP);
    m_Faf = node.Str("faf", m_Faf);
    m_Fhl = node.Bool("fhl", m_Fhl);
    m_Fmr = node.Dbl("fmr", m_Fmr);
    m_Fsh = node.Bool("fsh", m_Fsh);
    m_Fpop = node.Bool("fpop", m_Fpop);
}

void CAdvancedSettings::Xml(CXmlNode& node) {
    static constexpr const char* kFirstKeys[kStepRows] = {"s_fs", "s_os", "s_as", "s_cs"};
    static constexpr const char* kSecondKeys[kStepRows] = {"s_ff", "s_of", "s_af", "s_cf"};
    m_DC = node.Bool("dc", m_DC);
    m_SeveralEulerSteps = node.Bool("so", m_SeveralEulerSteps);
    m_ConstantStep = node.Bool("cs", m_ConstantStep);
    m_StoreBeforeStart = node.Bool("sbs", m_StoreBeforeStart);
    m_Timeout = node.Int("to", m_Timeout);
    m_Zero = node.Dbl("zero", m_Zero);
    // The row indexes a table: an outside value is held at the nearest row,
    // while the file keeps what it said.
    m_StepMode = std::clamp(node.Int("s_m", m_StepMode), 0, kStepRows - 1);
    for (int row = 0; row < kStepRows; ++row) {
        m_StepFirst[row] = node.Dbl(kFirstKeys[row], m_StepFirst[row]);
        m_StepSecond[row] = node.Dbl(kSecondKeys[row], m_StepSecond[row]);
    }
    m_Low = node.Dbl("low", m_Low);
    m_High = node.Dbl("high", m_High);
    m_Thr = node.Dbl("thr", m_Thr);
    m_Z0Re = node.Dbl("z0re", m_Z0Re);
    m_Z0Im = node.Dbl("z0im", m_Z0Im);
    m_ZParam = node.Str("zparam", m_ZParam);
    m_StDelete = node.Bool("st_delete", m_StDelete);
    m_StMax = node.Bool("st_max", m_StMax);
    m_StNMaxVal = node.Int("st_nmax_val", m_StNMaxVal);
    m_StSave = node.Bool("st_save", m_StSave);
    m_StT = node.Bool("st_t", m_StT);
    m_StTVal = node.Dbl("st_t_val", m_StTVal);
    m_StTrigger = node.Bool("st_trigger", m_StTrigger);
    m_StTriggerF = node.Str("st_trigger_f", m_StTriggerF);
}

}  // namespace qz3
