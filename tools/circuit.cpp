#include "circuit.h"

#include "qz3.h"

namespace qz3::cli {

std::string LibraryError() {
    const char* text = QZ3_GetError();
    return text != nullptr ? text : "";
}

CCircuit::~CCircuit() {
    if (m_Handle >= 0) QZ3_Close(m_Handle);
}

bool CCircuit::Open(const std::string& path) {
    m_Handle = QZ3_Open(path.c_str());
    return Check(m_Handle);
}

bool CCircuit::Check(int result) {
    if (result >= 0) return true;
    m_Error = LibraryError();
    return false;
}

}  // namespace qz3::cli
