// The three groups of simulation settings a document holds, each read and
// written by one two-way routine. Defaults live in the constructors: a key
// missing from the file leaves them standing.
#pragma once

#include <string>

namespace qz3 {

class CXmlNode;

// Tran/Settings.
class CTranSettings {
public:
    void Xml(CXmlNode& node);
    // A run has a start condition only with the trigger on and a formula.
    bool HasStartCondition() const { return m_StartTrigger && !m_StartTriggerF.empty(); }

    double m_Start = 0;
    double m_Screen = 10;
    double m_Step = 0.001;
    bool m_PauseTrigger = false;
    std::string m_PauseTriggerF;
    bool m_StartTrigger = false;
    std::string m_StartTriggerF;
};

// Freq/Settings, copied into the solver at the start of an AC run.
class CACSettings {
public:
    static constexpr int kAlgZTransform = 2;

    void Xml(CXmlNode& node);

    int m_Type = 0;
    std::string m_List;
    std::string m_Test;
    double m_From = 0.001;
    double m_To = 1000;
    int m_Points = 500;
    int m_Scale = 0;
    int m_Id = 0;
    int m_Alg = 0;
    bool m_DCOP = false;
    std::string m_Faf = "0.1";
    bool m_Fhl = true;
    double m_Fmr = 10;
    bool m_Fsh = false;
    bool m_Fpop = true;
};

// Doc/Advanced.
class CAdvancedSettings {
public:
    static constexpr int kStepRows = 4;

    void Xml(CXmlNode& node);
    // The two factors of the selected row of the step table.
    double FirstStepFactor() const { return m_StepFirst[m_StepMode]; }
    double SecondStepFactor() const { return m_StepSecond[m_StepMode]; }

    bool m_DC = true;
    // "so": after an event, Euler steps go on as planned; off, one follows
    // the first step.
    bool m_SeveralEulerSteps = true;
    // "cs": every step has the set length and events are not bracketed.
    bool m_ConstantStep = false;
    // "sbs": what lies before the start time is recorded too.
    bool m_StoreBeforeStart = true;
    int m_Timeout = 0;
    double m_Zero = 1e-12;
    int m_StepMode = 1;  // "s_m", always 0 to 3 in memory
    double m_StepFirst[kStepRows] = {0.5, 0.125, 0.015625, 0.125};
    double m_StepSecond[kStepRows] = {1, 0.25, 0.125, 0.25};
    double m_Low = 0;
    double m_High = 5;
    double m_Thr = 2.5;
    double m_Z0Re = 50;
    double m_Z0Im = 0;
    std::string m_ZParam;
    bool m_StDelete = false;
    bool m_StMax = false;
    int m_StNMaxVal = 10;
    bool m_StSave = false;
    bool m_StT = false;
    double m_StTVal = 1;
    bool m_StTrigger = false;
    std::string m_StTriggerF;
};

}  // namespace qz3
