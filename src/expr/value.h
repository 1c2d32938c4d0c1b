// The tagged value every expression computes with.
//
// A CValue is a plain struct, copied by value on the evaluator's stack. The
// tag numbering is part of the design: the lower the tag, the wider the
// type, so the promoted type of several operands is the smallest tag among
// them (std::min of the tags).
//
// Recipe:
//   CValue v;  v.SetInt(3);            // tag vtInt, payload I32
//   v.Convert(vtDouble);               // now vtDouble 3.0
//   double x = v.AsDouble();           // read any numeric tag as a double
//   CValue slot; slot.SetInt(0);
//   slot.AssignConverted(v);           // slot keeps its tag: vtInt 3
//
// Setters write the tag and only the slot they own: SetInt leaves Im and the
// upper bytes of the payload alone, SetDouble leaves Im alone. Only the
// conversion to vtComplex clears Im.
#pragma once

#include <cstdint>
#include <string>

namespace qz3 {

enum ValueType : uint32_t {
    vtComplex = 0,
    vtDouble = 1,
    vtInt64 = 2,
    vtInt = 3,
    vtBool = 4,
    vtArray = 5,  // reference to an array entry of a variable list; stack only
};

struct CValue {
    ValueType Type = vtInt;
    union {
        double Dbl = 0.0;  // vtDouble, and the real part of vtComplex
        int64_t I64;       // vtInt64
        int32_t I32;       // vtInt
        uint8_t Byte;      // vtBool, 0 or 1
        void* Ptr;         // vtArray
    };
    double Im = 0.0;  // imaginary part, meaningful only with vtComplex

    void SetComplex(double re, double im) { Type = vtComplex; Dbl = re; Im = im; }
    void SetDouble(double x) { Type = vtDouble; Dbl = x; }
    void SetInt64(int64_t x) { Type = vtInt64; I64 = x; }
    void SetInt(int32_t x) { Type = vtInt; I32 = x; }
    void SetBool(uint8_t b) { Type = vtBool; Byte = b; }
    void SetArray(void* ref) { Type = vtArray; Ptr = ref; }

    // Changes this value in place to the tag `to` (see value.cpp for the
    // table). A double that doesn't fit an integer target becomes the
    // target's most negative value, as the processor's truncation does.
    void Convert(ValueType to);
    // Converts `source` itself to this value's tag, then copies it here.
    void AssignConverted(CValue& source);

    // Cheap readers that leave the value alone.
    bool IsComplex() const { return Type == vtComplex; }
    bool IsInteger() const { return Type == vtInt64 || Type == vtInt || Type == vtBool; }
    // Real part; only meaningful for vtComplex and vtDouble.
    double Re() const { return Dbl; }
    // Imaginary part, 0.0 for every tag other than vtComplex.
    double ImOrZero() const { return Type == vtComplex ? Im : 0.0; }
    // Any numeric tag as a double: the real part of a complex, the cast of an
    // integer, 0.0 or 1.0 for a bool; 0.0 for an array reference.
    double AsDouble() const {
        switch (Type) {
            case vtComplex:
            case vtDouble: return Dbl;
            case vtInt64: return static_cast<double>(I64);
            case vtInt: return static_cast<double>(I32);
            case vtBool: return Byte ? 1.0 : 0.0;
            default: return 0.0;
        }
    }
    // Any numeric tag as the conversion to vtInt64 / vtInt / vtBool would give.
    int64_t AsInt64() const { CValue v = *this; v.Convert(vtInt64); return v.I64; }
    int32_t AsInt() const { CValue v = *this; v.Convert(vtInt); return v.I32; }
    bool AsBool() const { CValue v = *this; v.Convert(vtBool); return v.Byte != 0; }
};

// Text of a value: engineering notation with 12 digits for doubles and
// complex numbers ("1+2j"), decimal for integers, "true"/"false" for bools,
// the empty string for an array reference.
std::string ValueToText(const CValue& v);

}  // namespace qz3
