// A user's shared library as a block loads it: the file, its entry points,
// and the system's words when either can't be had.
//
// An entry point is looked up as named, then with a leading "_" (the form
// some compilers give C functions). A library of another word size or
// processor is told apart from a file that isn't a library at all, since
// the loader itself only says that it can't open the first kind.
// Unloading happens in the destructor as well, so that no path leaves a
// handle behind.
#pragma once

#include <string>

namespace qz3 {

class CUserLibrary {
public:
    CUserLibrary() = default;
    ~CUserLibrary() { Unload(); }
    CUserLibrary(const CUserLibrary&) = delete;
    CUserLibrary& operator=(const CUserLibrary&) = delete;

    // False with the system's text in `error`: "Wrong DLL (32 bit?)" for a
    // library built for another machine, else the loader's own words.
    bool Load(const std::string& path, std::string& error);
    // The entry point, or null with the loader's text for the name as given.
    void* Entry(const std::string& name, std::string& error) const;
    void Unload();
    bool Loaded() const { return m_Handle != nullptr; }

private:
    void* m_Handle = nullptr;
    std::string m_Path;  // as loaded, to take it off the front of messages
};

}  // namespace qz3
