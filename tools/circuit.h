// The command's hold on one open circuit of the library: opened by path,
// closed when the object goes. Every failure is kept as the library worded
// it, copied at once, since the next call overwrites the library's buffer.
#pragma once

#include <string>

namespace qz3::cli {

class CCircuit {
public:
    CCircuit() = default;
    CCircuit(const CCircuit&) = delete;
    CCircuit& operator=(const CCircuit&) = delete;
    ~CCircuit();

    bool Open(const std::string& path);
    int Handle() const { return m_Handle; }
    // The library's text of the last failed call made through this object.
    const std::string& Error() const { return m_Error; }

    // Checks a library result: a negative one keeps the error text.
    bool Check(int result);

private:
    int m_Handle = -1;
    std::string m_Error;
};

// A copy of the library's error buffer.
std::string LibraryError();

}  // namespace qz3::cli
