// The table of all component types, filled once, in one explicit function,
// in the order of the type table. A type name in a file that is not here
// cannot be loaded.
//
// Adding a family: its own file pair, and one line per type in
// elem_set.cpp pointing at the family's factory and model table. No
// self-registering statics: a static library drops them silently and their
// start-up order is undefined.
#pragma once

#include <string>

#include "base/list.h"

namespace qz3 {

class CCmp;
class CCmps;
struct CCmpType;

class CElemSet {
public:
    virtual ~CElemSet() = default;

    // The one set of the process, filled on first use.
    static CElemSet& Instance();

    // Exact, case-sensitive search; the new component's owner is set.
    // Null if the type is unknown or the factory failed.
    CCmp* Create(const std::string& typeName, CCmps* owner) const;
    const CCmpType* FindType(const std::string& typeName) const;
    int Count() const { return m_Types.Count(); }
    const CCmpType* At(int i) const { return m_Types.At(i); }

    // The two types the loader makes by itself, outside the set.
    static const CCmpType& LabelType();
    static const CCmpType& VariableType();

private:
    CElemSet();
    void Fill();

    TList<const CCmpType> m_Types;  // static descriptors, not owned
};

}  // namespace qz3
