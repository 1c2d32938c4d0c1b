#include "api/registry.h"

#include <atomic>
#include <cstdint>
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
// Counts every change of the list, under the lock.
std::atomic<uint64_t> g_ListVersion{0};

// The circuit this thread found last, and the list version it was found in.
// While the list is unchanged the handle still names that document, so a
// host reading point after point of one circuit skips the lock; the
// document's lifetime is the same as with the lock (valid while its handle
// is open).
struct CFoundCircuit {
    int handle = -1;
    uint64_t version = 0;
    CDoc* doc = nullptr;
};
thread_local CFoundCircuit t_Found;

void ListChanged() { g_ListVersion.fetch_add(1, std::memory_order_release); }
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
    ListChanged();
}

void CloseCircuit(CDoc* doc) {
    {
        std::lock_guard<std::mutex> lock(g_ListLock);
        const int index = g_CircuitList ? g_CircuitList->IndexOf(doc) : -1;
        if (index < 0) return;
        g_CircuitList->Delete(index);
        g_CircuitList->Shrink();
        ListChanged();
    }
    delete doc;
}

CDoc* FindCircuit(int handle) {
    CFoundCircuit& found = t_Found;
    if (found.doc != nullptr && found.handle == handle &&
        found.version == g_ListVersion.load(std::memory_order_acquire))
        return found.doc;
    {
        std::lock_guard<std::mutex> lock(g_ListLock);
        if (g_CircuitList) {
            for (CDoc* doc : *g_CircuitList) {
                if (doc->m_Handle != handle) continue;
                found = {handle, g_ListVersion.load(std::memory_order_relaxed), doc};
                return doc;
            }
        }
    }
    AppendError(CircuitList() ? "wrong circuit handle" : "no circuit");
    return nullptr;
}

}  // namespace qz3::api
