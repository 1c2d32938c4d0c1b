#include "api/registry.h"

#include <atomic>
#include <mutex>

#include "api/error_channel.h"
#include "document/doc.h"

namespace qz3::api {

namespace {
std::atomic<int> g_NextHandle{0};
// The list is shared by all threads: every look-up and change holds the lock.
// A document found under it stays valid while its handle is open; using one
// handle from two threads at once is the host's to avoid.
std::mutex g_ListLock;
TList<CDoc>* g_CircuitList = nullptr;
}  // namespace

int NextHandle() { return g_NextHandle.load(); }

int TakeHandle() { return g_NextHandle.fetch_add(1); }

TList<CDoc>* CircuitList() {
    std::lock_guard<std::mutex> lock(g_ListLock);
    return g_CircuitList;
}

void AddCircuit(CDoc* doc) {
    std::lock_guard<std::mutex> lock(g_ListLock);
    if (!g_CircuitList) g_CircuitList = new TList<CDoc>;
    g_CircuitList->Add(doc);
}

void CloseCircuit(CDoc* doc) {
    {
        std::lock_guard<std::mutex> lock(g_ListLock);
        const int index = g_CircuitList ? g_CircuitList->IndexOf(doc) : -1;
        if (index < 0) return;
        g_CircuitList->Delete(index);
        g_CircuitList->Shrink();
    }
    delete doc;
}

CDoc* FindCircuit(int handle) {
    {
        std::lock_guard<std::mutex> lock(g_ListLock);
        if (g_CircuitList) {
            for (CDoc* doc : *g_CircuitList)
                if (doc->m_Handle == handle) return doc;
        }
    }
    AppendError(CircuitList() ? "wrong circuit handle" : "no circuit");
    return nullptr;
}

}  // namespace qz3::api
