// The parameter table of an element class, and everything it drives.
//
// A class declares all its parameters once, in one array of CParamRow, in
// the order of their file keys and of their check lines. A model row of the
// type table (CModelInfo::params) lists which of these rows the model shows
// and in which order the host sees them (row 0 is what "R1" alone names).
// From that, with no code in the element:
//   - text access: ParamTable() binds the model's rows to the component
//     (a CParam per row, owned by the component, never a shared table);
//   - the file: every row that some model of the type shows is loaded and
//     saved by its key, first row of a key wins, rows of a child node only
//     while the present model shows one of them;
//   - the start values: a new component takes every row's default;
//   - CheckParams: the rows of the present model, in table order, give
//     "X : formula error" and then the lines of their tests.
//
// Recipe, for a class CElemX with two formulas:
//     enum XRow : uint8_t { kA, kB, kRowCount };
//     constexpr CParamRow kRows[] = {
//         FormulaRow("A", "V", "a", MemberAt<&CElemX::a>, 1.0, {ParamTest::Negative}),
//         FormulaRow("B", "s", "b", MemberAt<&CElemX::b>, 0.0),
//     };
//     const CParamTable kXParams = ParamTableOf(kRows);
//     const uint8_t kOrderX[] = {kA, kB, kEndOfRows};
//     const CModelInfo kModelsX[] = {{"X", ModelId::..., kOrderX, 0, 0, kReadVIP}, {}};
// and in elem_set.cpp one row: {"X_X", TypeId::..., &CreateElement<CElemX>, 2, ..., kModelsX, &kXParams, ...}.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "expr/param_row.h"

namespace qz3 {

class CSolverPort;
class CCmp;
class CXmlNode;

// Ends the list of rows of a model.
constexpr uint8_t kEndOfRows = 0xFF;

struct CParamTable {
    const CParamRow* rows = nullptr;
    int count = 0;
};

template <size_t N>
constexpr CParamTable ParamTableOf(const CParamRow (&rows)[N]) {
    static_assert(N < kEndOfRows, "a table has fewer rows than the end mark");
    return {rows, static_cast<int>(N)};
}

template <size_t N>
constexpr CParamTable ParamTableOf(const std::array<CParamRow, N>& rows) {
    static_assert(N < kEndOfRows, "a table has fewer rows than the end mark");
    return {rows.data(), static_cast<int>(N)};
}

// One table from rows of the class and rows it shares with another class
// (the shared ones then start at index N).
template <size_t N, size_t M>
constexpr std::array<CParamRow, N + M> JoinRows(const std::array<CParamRow, N>& own,
                                                const std::array<CParamRow, M>& shared) {
    std::array<CParamRow, N + M> rows{};
    for (size_t i = 0; i < N; ++i) rows[i] = own[i];
    for (size_t i = 0; i < M; ++i) rows[N + i] = shared[i];
    return rows;
}

namespace param_detail {
template <class>
struct MemberOf;
template <class C, class T>
struct MemberOf<T C::*> {
    using Owner = C;
};

template <auto Member, auto... Inner, class Object>
void* Follow(Object* object) {
    auto* member = &(object->*Member);
    if constexpr (sizeof...(Inner) == 0) {
        return member;
    } else {
        return Follow<Inner...>(member);
    }
}
}  // namespace param_detail

// The member of a component that a row stands for: MemberAt<&CElemD::vd>,
// or a path into an embedded object, MemberAt<&CElemV::signal, &CSignal::m_U1>.
template <auto Member, auto... Inner>
void* MemberAt(void* owner) {
    using Owner = typename param_detail::MemberOf<decltype(Member)>::Owner;
    return param_detail::Follow<Member, Inner...>(static_cast<Owner*>(static_cast<CCmp*>(owner)));
}

// One element of an array member: ElementAt<&CElemAC::b, 2> is b[2].
template <auto Member, size_t Index>
void* ElementAt(void* owner) {
    using Owner = typename param_detail::MemberOf<decltype(Member)>::Owner;
    return &(static_cast<Owner*>(static_cast<CCmp*>(owner))->*Member)[Index];
}

// The rows of the component's present model bound to its members, ended by
// a row of kind 0; empty when the model has no rows.
void BindParamRows(CCmp* cmp, std::vector<CParam>& bound);
// Every row of the class table takes its default.
void InitParamRows(CCmp* cmp);
// Loads or saves every row of the type by its key.
void XmlParamRows(CCmp* cmp, CXmlNode* node);
// The check lines of the present model's rows; false if there was a fault.
bool CheckParamRows(CCmp* cmp, CSolverPort* calc);

// The factory of a type: a component of class T with the defaults of its
// parameter table.
template <class T>
CCmp* CreateElement(const struct CCmpType* type) {
    T* cmp = new T(type);
    InitParamRows(cmp);
    return cmp;
}

}  // namespace qz3
