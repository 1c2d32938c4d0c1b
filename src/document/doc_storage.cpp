// Results stored with the file: the records in the tree that describe the
// stored runs, and the points themselves behind the text, after one zero
// byte. The transient trace set fills in its runs here, trace by trace in
// the order of Tran/Traces.
#include <cstdio>

#include "document/doc.h"
#include "xml/xml_node.h"

namespace qz3 {

void CDoc::DescribeStoredData(CXmlNode& tran) {
    CXmlNode* storage = tran.FindChild("StorageList", 0);
    if (!storage) storage = tran.AddChild("StorageList");
    // The list is rebuilt, so that saving twice leaves one record.
    while (storage->ChildCount() > 0) storage->DeleteChild(storage->ChildCount() - 1);
    CXmlNode* run = storage->AddChild("Storage");
    run->AddRaw("name", "Run");
    run->AddInt("id", 0);
    run->AddRaw("out", "true");
    if (CXmlNode* traces = tran.FindChild("Traces", 0)) m_Tran->DescribeRuns(*traces);
}

bool CDoc::WriteStoredData(std::FILE* file) {
    // The zero byte ends the text for every reader of the file.
    if (std::fputc(0, file) == EOF) return false;
    CXmlNode* doc = m_Tree ? m_Tree->FindChild("Doc", 0) : nullptr;
    CXmlNode* tran = doc ? doc->FindChild("Tran", 0) : nullptr;
    return m_Tran->WriteRuns(file, tran ? tran->FindChild("Traces", 0) : nullptr);
}

}  // namespace qz3
