// Named, typed variables and arrays, searched from the newest entry back.
//
// Every element that evaluates formulas at run time owns a CVarList and fills
// it once at preparation; at each step it overwrites the entries' values by
// position through the stable `Value` pointer it kept, so evaluation sees the
// current inputs without looking anything up itself. An entry pointer is only
// valid until the next Add (the entry array is reallocated); the `Value`
// block of a scalar lives as long as the list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "expr/value.h"

namespace qz3 {

struct CVarEntry {
    char* Name = nullptr;    // owned
    CValue* Value = nullptr; // owned: one value, or Size values in a row
    int32_t Size = 0;        // 0 for a scalar, else the number of elements
    int32_t Extra = 0;       // free for the owner (the code block keeps a pin number)
    bool IsArray() const { return Size >= 1; }
};

class CVarList {
public:
    CVarList() = default;
    CVarList(const CVarList&) = delete;
    CVarList& operator=(const CVarList&) = delete;
    virtual ~CVarList();

    // Null for an empty name or when memory runs out; the list is unchanged then.
    CVarEntry* Add(const char* name, ValueType type, int32_t size);
    // Newest entry first, down to firstIndex, ignoring case.
    CVarEntry* Find(std::string_view name, int32_t firstIndex = 0);
    // Grows only; the block may move, so fetch entry.Value again afterwards.
    bool Resize(CVarEntry& entry, int32_t size);
    void Clear();
    // Drops the entries from `count` on (a scope that ends). Their blocks
    // are kept for the next Add of a name and size that fit, so a program
    // that declares the same locals at every step allocates only once.
    void Truncate(int32_t count);
    // "f", "w" (double) and "s", "p" (complex) of frequency-domain formulas.
    void AddAcDefaults();

    int32_t Count() const { return m_Count; }
    CVarEntry& operator[](int32_t i) { return m_Entries[i]; }

private:
    bool ReuseKept(const char* name, size_t length, ValueType type, int32_t size);

    CVarEntry* m_Entries = nullptr;
    int32_t m_Count = 0;
    int32_t m_Capacity = 0;
    int32_t m_Kept = 0;  // entries behind m_Count whose blocks Truncate kept

};

// Case-insensitive equality of two names (ASCII letters only).
bool SameName(std::string_view a, std::string_view b);

}  // namespace qz3
