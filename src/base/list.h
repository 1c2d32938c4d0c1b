// Plain containers shared by every subsystem.
//
// TList is a growing array of owned-or-not pointers (the owner decides);
// TStringList is a list of strings by value with the split and join rules
// used by component texts: Split cuts at each separator, the text behind the
// last separator is the last item (empty or not), an empty text gives no
// items, and the separator 13 takes two characters (CR and the LF behind it).
#pragma once

#include <string>
#include <vector>

namespace qz3 {

class _CItems {
public:
    virtual ~_CItems() = default;
};

template <class T>
class TList : public _CItems {
public:
    ~TList() override = default;
    int Count() const { return static_cast<int>(m_Items.size()); }
    T* operator[](int i) const { return m_Items[static_cast<size_t>(i)]; }
    T* At(int i) const { return (i >= 0 && i < Count()) ? m_Items[static_cast<size_t>(i)] : nullptr; }
    void Add(T* item) { m_Items.push_back(item); }
    void Insert(int i, T* item) { m_Items.insert(m_Items.begin() + i, item); }
    void Delete(int i) { m_Items.erase(m_Items.begin() + i); }
    int IndexOf(const T* item) const {
        for (int i = 0; i < Count(); ++i)
            if (m_Items[static_cast<size_t>(i)] == item) return i;
        return -1;
    }
    void Clear() { m_Items.clear(); }
    void Shrink() { m_Items.shrink_to_fit(); }
    auto begin() const { return m_Items.begin(); }
    auto end() const { return m_Items.end(); }

private:
    std::vector<T*> m_Items;
};

class TStringList : public _CItems {
public:
    int Count() const { return static_cast<int>(m_Items.size()); }
    const std::string& operator[](int i) const { return m_Items[static_cast<size_t>(i)]; }
    std::string& operator[](int i) { return m_Items[static_cast<size_t>(i)]; }
    void Clear() { m_Items.clear(); }
    void Add(std::string s) { m_Items.push_back(std::move(s)); }
    void Delete(int i) { m_Items.erase(m_Items.begin() + i); }
    void Split(const std::string& text, char separator);
    std::string JoinCommas() const;
    std::string JoinLines() const;
    auto begin() const { return m_Items.begin(); }
    auto end() const { return m_Items.end(); }

private:
    std::vector<std::string> m_Items;
};

}  // namespace qz3
