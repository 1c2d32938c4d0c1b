#include "api/registry.h"

#include "api/error_channel.h"
#include "document/doc.h"

namespace qz3::api {

namespace {
int g_NextHandle = 0;
TList<CDoc>* g_CircuitList = nullptr;
}  // namespace

int NextHandle() { return g_NextHandle; }

int TakeHandle() { return g_NextHandle++; }

TList<CDoc>* CircuitList() { return g_CircuitList; }

void AddCircuit(CDoc* doc) {
    if (!g_CircuitList) g_CircuitList = new TList<CDoc>;
    g_CircuitList->Add(doc);
}

void CloseCircuit(CDoc* doc) {
    int index = g_CircuitList ? g_CircuitList->IndexOf(doc) : -1;
    if (index < 0) return;
    delete doc;
    g_CircuitList->Delete(index);
    g_CircuitList->Shrink();
}

CDoc* FindCircuit(int handle) {
    if (!g_CircuitList) {
        AppendError("no circuit");
        return nullptr;
    }
    for (CDoc* doc : *g_CircuitList)
        if (doc->m_Handle == handle) return doc;
    AppendError("wrong circuit handle");
    return nullptr;
}

}  // namespace qz3::api
