// One open schematic: the object behind a circuit handle. It owns the
// component list, the settings and the whole XML tree of its file. The tree
// lives as long as the document, and a save rewrites only the places that
// follow the live state (Cmps, the step, the time-out, the stored-data
// records), so that whatever the engine doesn't interpret survives untouched.
//
// Recipe:
//     CDoc doc;
//     if (doc.Load("circuit") < 0) report(doc.m_LastError);   // ".qz3" added
//     ... runs, parameter changes ...
//     if (!doc.Save(doc.m_FileName)) report("cannot save file " + ...);
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "base/list.h"
#include "xml/convert.h"
#include "document/io_record.h"
#include "document/param_record.h"
#include "xml/settings.h"
#include "traces/trace_set.h"

namespace qz3 {

class CCalc;
class CCmp;
class CCmps;
class CParam;
class CXmlNode;
class CTrace;

class CDoc {
public:
    CDoc();
    virtual ~CDoc();
    CDoc(const CDoc&) = delete;
    CDoc& operator=(const CDoc&) = delete;

    // 0 good, -1 failed, -2 conversion failed; on failure the reason is in
    // m_LastError and the caller destroys the document.
    int Load(const std::string& path);
    // Writes the tree to path; the caller words the failure.
    bool Save(const std::string& path);
    // The file a subcircuit, DLL or include names: as it stands, beside the
    // document, or in one of the library folders. Empty when not found.
    std::string FindFile(const std::string& name, const std::string& ext) const;
    // The folder of the schematic with its separator, "" for a new one.
    std::string Folder() const;
    // A parameter by "comp.param" for the host: "NULL pointer", "no
    // parameter name" or "parameter <name> not found" go to `error`. With
    // `where` the record of a new handle is filled in.
    CParam* FindParam(const char* name, std::string& error, CParamRecord* where = nullptr);
    // The parameter of a handle, bound to its component again with its extra
    // word restored; "wrong parameter handle" otherwise.
    CParam* ParamByHandle(int handle, std::string& error);

    // The run (doc_run.cpp). Start begins a new transient run and finds its
    // operating point; Simulate goes on by `interval` (mode 0: to the first
    // point at or after the end, 2: exactly to the end) or by one turn of the
    // solver (mode 1). On a failure the run is over, m_Running is false and
    // RunError() says why.
    bool Start();
    bool Simulate(double interval, int mode);
    const std::string& RunError() const;
    // An AC analysis with the file's frequency settings (doc_ac.cpp); false
    // with the text, prefixed "AC error:\n", in `error`.
    bool CalcAC(std::string& error);
    // PhaseStore on the running components, so that a change of a value or
    // of the step lets the run go on from the present state.
    void KeepRunState();

    std::string m_FileName;
    std::string m_Title;
    std::string m_Libraries;  // one folder a line
    std::unique_ptr<CCmps> m_Cmps;
    std::unique_ptr<CTraceSet> m_Tran;  // traces of the transient analysis
    std::unique_ptr<CTraceSet> m_Freq;  // traces of the AC analysis
    TList<CParamRecord> m_Params;  // owned: the parameter handles given out
    TList<CInputRecord> m_Inputs;    // owned: the co-simulation inputs given out
    TList<COutputRecord> m_Outputs;  // owned: the co-simulation outputs given out
    CTranSettings m_TranSettings;
    TStringList m_States;  // one key=value line per saved state
    CACSettings m_ACSettings;
    CAdvancedSettings m_Advanced;
    int m_Handle = -1;
    bool m_Running = false;
    std::unique_ptr<CXmlNode> m_Tree;  // the whole file, root included
    std::unique_ptr<CCalc> m_Calc;     // the solver, for the document's whole life
    // Why the last Load failed; the library appends it behind its prefix.
    std::string m_LastError;
    // What opening did to a file of an older version, with its warnings.
    CConversion m_Conversion;
    // The file stored the document or its component list scrambled; a save
    // scrambles them again.
    bool m_ScrambledDoc = false;
    bool m_ScrambledCmps = false;

    // A transient trace made by the host (doc_traces.cpp): type 0, 1, 2 of
    // a component by name, 4 of a variable, 5 of a formula. It joins the
    // set and the file's Tran/Traces. Null with the reason in m_LastError.
    CTrace* NewTrace(int type, const std::string& text);

private:
    void RunAcPoints(CCmp* source, double& f);
    void ReadTraceSets(CXmlNode& doc);
    bool RunFailed();
    bool TimeOutReached(int32_t began) const;
    bool ReadDoc(CXmlNode& doc);
    int ConvertAndRestore(const std::string& file);
    bool SaveTree(CXmlNode& doc, const std::string& path);
    void ReadTran(CXmlNode& tran);
    void ReadFreq(CXmlNode& freq);
    void ReadStates(CXmlNode& doc);
    void ReadLibraries(CXmlNode& doc);
    bool WriteCmps(CXmlNode& doc);
    void WriteLiveSettings(CXmlNode& doc);
    void WriteTraceAnnotations(CXmlNode& doc);
    // Stored results (doc_storage.cpp): the records in the tree, then the
    // points behind the text.
    void DescribeStoredData(CXmlNode& tran);
    bool WriteStoredData(std::FILE* file);
};

// "name" with ext when its last path element has no extension.
std::string WithDefaultExtension(const std::string& name, const std::string& ext);
// True when the platform finds a file or folder of that name.
bool FileExists(const std::string& path);
// Fills the "Trace" generators' slot with the document's own lookup; the
// first document does it.
void LinkTracesToSignals();
// Cursor measurements ("Vout.mean") for formulas; once, from the first document.
void LinkMeasurementsToFormulas();

}  // namespace qz3
