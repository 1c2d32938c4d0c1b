#include "expr/var_list.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace qz3 {

namespace {

constexpr int32_t kCapacityStep = 10;

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

CValue* NewZeroedValues(int32_t count, ValueType type) {
    CValue* values = new (std::nothrow) CValue[static_cast<size_t>(count)];
    if (!values) return nullptr;
    for (int32_t i = 0; i < count; ++i) {
        values[i] = CValue{};
        values[i].I64 = 0;
        values[i].Type = type;
    }
    return values;
}

}  // namespace

bool SameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    return true;
}

CVarList::~CVarList() {
    Clear();
    std::free(m_Entries);
}

// A kept slot is reused when the name and the values fit its blocks.
bool CVarList::ReuseKept(const char* name, size_t length, ValueType type, int32_t size) {
    if (m_Count >= m_Kept) return false;
    CVarEntry& slot = m_Entries[m_Count];
    const int32_t values = size < 1 ? 1 : size;
    const int32_t keptValues = slot.Size < 1 ? 1 : slot.Size;
    if (std::strlen(slot.Name) < length || keptValues < values) {
        delete[] slot.Name;
        delete[] slot.Value;
        // The last kept slot moves here, so kept blocks stay in one row.
        slot = m_Entries[--m_Kept];
        m_Entries[m_Kept] = CVarEntry{};
        return false;
    }
    std::memcpy(slot.Name, name, length + 1);
    for (int32_t i = 0; i < values; ++i) {
        slot.Value[i] = CValue{};
        slot.Value[i].I64 = 0;
        slot.Value[i].Type = type;
    }
    slot.Size = size;
    slot.Extra = 0;
    ++m_Count;
    return true;
}

CVarEntry* CVarList::Add(const char* name, ValueType type, int32_t size) {
    if (!name || !*name) return nullptr;
    const size_t nameLength = std::strlen(name);
    while (m_Count < m_Kept)
        if (ReuseKept(name, nameLength, type, size)) return &m_Entries[m_Count - 1];
    if (m_Count == m_Capacity) {
        int32_t capacity = m_Capacity + kCapacityStep;
        void* grown = std::realloc(m_Entries, sizeof(CVarEntry) * static_cast<size_t>(capacity));
        if (!grown) return nullptr;
        m_Entries = static_cast<CVarEntry*>(grown);
        m_Capacity = capacity;
    }
    size_t length = std::strlen(name);
    char* copy = new (std::nothrow) char[length + 1];
    if (!copy) return nullptr;
    std::memcpy(copy, name, length + 1);
    CValue* values = NewZeroedValues(size < 1 ? 1 : size, type);
    if (!values) {
        delete[] copy;
        return nullptr;
    }
    CVarEntry& entry = m_Entries[m_Count++];
    entry = CVarEntry{copy, values, size, 0};
    return &entry;
}

CVarEntry* CVarList::Find(std::string_view name, int32_t firstIndex) {
    if (firstIndex < 0) firstIndex = 0;
    for (int32_t i = m_Count - 1; i >= firstIndex; --i)
        if (SameName(m_Entries[i].Name, name)) return &m_Entries[i];
    return nullptr;
}

bool CVarList::Resize(CVarEntry& entry, int32_t size) {
    if (size <= entry.Size) return true;
    int32_t oldCount = entry.Size < 1 ? 1 : entry.Size;
    CValue* values = NewZeroedValues(size, entry.Value[0].Type);
    if (!values) return false;
    for (int32_t i = 0; i < oldCount && i < size; ++i) values[i] = entry.Value[i];
    delete[] entry.Value;
    entry.Value = values;
    entry.Size = size;
    return true;
}

void CVarList::Clear() {
    const int32_t used = m_Kept > m_Count ? m_Kept : m_Count;
    for (int32_t i = 0; i < used; ++i) {
        delete[] m_Entries[i].Name;
        delete[] m_Entries[i].Value;
    }
    m_Count = m_Kept = 0;
}

void CVarList::Truncate(int32_t count) {
    if (count < 0) count = 0;
    if (count >= m_Count) return;
    if (m_Kept < m_Count) m_Kept = m_Count;
    m_Count = count;
}

void CVarList::AddAcDefaults() {
    Add("f", vtDouble, 0);
    Add("w", vtDouble, 0);
    Add("s", vtComplex, 0);
    Add("p", vtComplex, 0);
}

}  // namespace qz3
