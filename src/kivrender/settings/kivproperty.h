// One cell of a settings stream: a tagged number, character or text. Streams are flat runs of such cells
// (KivDataManager); a cell knows nothing of keys or nesting, its meaning comes from its place alone.
//
// A cell owns its value outright: copies share nothing.
//
//     KivProperty cell;
//     cell.setValue(3);
//     int number = 0;
//     if (cell.getType() == KivProperty::Int) {
//         cell.getValue(number);
//     }
//
// Plug-ins rarely meet one: the operations of KivDataManager read and write whole values. Cells throw nothing but for
// want of memory.
#ifndef KIVRENDER_SETTINGS_KIVPROPERTY_H
#define KIVRENDER_SETTINGS_KIVPROPERTY_H

#include "kivrender/platform/kivexport.h"

#include <cstdint>
#include <cstdio>
#include <string>

class KIV_API KivProperty {
public:
    // The numbers are part of the interface.
    enum propertyType : std::int32_t {
        Void = 0,          // nothing
        Int = 1,           // int, 32 bits
        Float = 2,         // float
        Double = 3,        // double
        Bool = 4,          // bool
        Char = 5,          // char
        String = 6,        // std::wstring
        UnsignedShort = 7, // unsigned short
        UnsignedLong = 8   // std::uint32_t; colours travel in it
    };

    // Void.
    KivProperty() = default;
    KivProperty(const KivProperty& other);
    KivProperty(KivProperty&& other) noexcept;
    ~KivProperty();
    // Gives nothing back: part of the interface.
    void operator=(const KivProperty& other); // NOLINT(misc-unconventional-assign-operator)

    // Takes a deep copy of the other cell's value.
    void set(const KivProperty& other);
    // Releases the value; the cell is Void afterwards.
    void clear();
    // The tag of what was stored last; Void before and after clear.
    propertyType getType() const;

    // Stores a copy of the value and takes its tag. There is one form for each type of the table above.
    template <class T> void setValue(const T& newValue);

    // Reads the value as a T without looking at the tag: the caller knows what was stored. A cell that holds another
    // number gives the low bytes of its pattern, zero where it is narrower; a text or an empty cell read as a number
    // gives zero, and anything but a text read as a text gives the empty one.
    template <class T> void getValue(T& out) const;

    // Prints one line for debugging, text as UTF-8. Nothing reads it back.
    void report(std::FILE* file) const;

    // True unless both cells have the same tag and exactly the same value. There is no tolerance and no conversion: a
    // Float 1 and a Double 1 differ, and a NaN differs from everything, itself included.
    static bool differs(const KivProperty& a, const KivProperty& b);

private:
    // The tag of each type that a cell can hold; others do not compile.
    static propertyType typeOf(const int&);
    static propertyType typeOf(const float&);
    static propertyType typeOf(const double&);
    static propertyType typeOf(const bool&);
    static propertyType typeOf(const char&);
    static propertyType typeOf(const std::wstring&);
    static propertyType typeOf(const unsigned short&);
    static propertyType typeOf(const std::uint32_t&);

    void* value = nullptr; // a number's 8 bytes, or a std::wstring
    propertyType type = Void;
};

#endif
