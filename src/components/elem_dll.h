// The library block "X_DLL": a component whose behaviour is the compiled
// code of a user's shared library (include/qz3_block.h is the author's side).
//
// The block's box gives its pins: left-side pins are inputs, right-side pins
// outputs, and a bottom pin, the last pin, is a clock. The names of the
// box's lists become the block's values by name (inputs, outputs, then
// variables), which formulas read as "block.name" and the initial values
// set. At the start of a run the library is found or unpacked from the
// attachment, loaded, its entry points looked up, the data array made with
// its guard words, the initial values run and Init called. Each evaluation
// copies the inputs from the solution into the array, calls Main and
// checks the guard; outputs are ideal voltage sources. Any fault closes the
// block at once: Exit, the library unloaded, the temporary file deleted.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "components/cmp.h"
#include "components/code_host.h"
#include "components/user_library.h"
#include "expr/var_list.h"
#include "qz3_block.h"

namespace qz3 {

extern const CParamTable kDllBlockParams;
extern const CModelInfo kModelsDll[];

class CElemDll : public CCmp {
public:
    explicit CElemDll(const CCmpType* type);
    ~CElemDll() override;

    void BeginCustom() override { MakeCustom(); }
    void EndCustom() override;
    int PinKind(int pin) const override;
    std::string PinName(int pin) const override;
    int AssignBranches(CSolverPort* calc, int first) override;
    bool Simulate(CSolverPort* calc, int phase, double t) override;
    bool CheckState(CSolverPort* calc, bool commit, bool* changed) override;
    CVarList* Variables() override { return &m_Names; }

    std::string m_Dll;                  // DLL
    std::string m_CodeName = "Main";    // Main
    std::string m_InitName = "Init";    // Init
    std::string m_PauseName = "Pause";  // Pause
    std::string m_ExitName = "Exit";    // Exit
    std::string m_IC;                   // IC: initial values as C-code
    bool m_Clocked = false;
    int m_NIn = 0;
    int m_NOut = 0;
    int m_NVar = 0;

private:
    bool Open(CSolverPort* calc, double t);
    bool RunGoesOn() const;
    bool BuildNames(CSolverPort* calc);
    bool LoadLibrary(CSolverPort* calc);
    bool FindLibraryFile(CSolverPort* calc, std::string& path);
    bool ResolveEntries(CSolverPort* calc);
    bool FindEntry(CSolverPort* calc, const std::string& name, void*& address);
    bool MakeDataArray(CSolverPort* calc);
    bool ApplyInitialValues(CSolverPort* calc);
    bool CallInit(CSolverPort* calc, double t);
    bool Evaluate(CSolverPort* calc, double t);
    bool GuardIntact() const;
    bool Outputs(CSolverPort* calc);
    bool Stamp(CSolverPort* calc);
    // The block's line in the run's error, then everything closed.
    bool Fail(CSolverPort* calc, const std::string& text);
    // Exit, unload, delete the temporary file, free the array.
    void Close();
    int ClockPin() const { return pinCount - 1; }
    bool InvertedClock() const { return view == 1; }
    int DataSize() const { return m_NIn + m_NOut + m_NVar; }

    CVarList m_Names;
    std::vector<CValue*> m_Values;   // m_Names' values by place in the data array
    std::vector<std::string> m_PinNames;
    CUserLibrary m_Library;
    QZ3_BlockInit m_Init = nullptr;
    QZ3_BlockMain m_Main = nullptr;
    QZ3_BlockExit m_Exit = nullptr;
    QZ3_BlockPause m_Pause = nullptr;
    std::string m_TempFile;
    std::string m_OpenedDll;  // the file name the library was loaded by
    std::unique_ptr<double[]> m_Data;
    CCodeRunHost m_Host;
};

}  // namespace qz3
