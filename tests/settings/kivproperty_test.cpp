#include "kivrender/settings/kivproperty.h"

#include "support/captured.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

template <class T> KivProperty cell(const T& value) {
    KivProperty property;
    property.setValue(value);
    return property;
}

KivProperty text(const wchar_t* value) {
    return cell(std::wstring(value));
}

template <class T> T valueOf(const KivProperty& property) {
    T value{};
    property.getValue(value);
    return value;
}

std::string report(const KivProperty& property) {
    return captured([&](std::FILE* file) { property.report(file); });
}

// One cell of each kind.
std::vector<KivProperty> oneOfEach() {
    return {KivProperty(),
            cell(-7),
            cell(1.5F),
            cell(-2.25),
            cell(true),
            cell('k'),
            text(L"a text"),
            cell<unsigned short>(65535),
            cell<std::uint32_t>(4294967295U)};
}

} // namespace

TEST(KivProperty, NumbersOfTheTagsAreFixed) {
    const auto cells = oneOfEach();
    for (std::size_t i = 0; i < cells.size(); ++i) {
        EXPECT_EQ(static_cast<std::size_t>(cells[i].getType()), i);
    }
    EXPECT_EQ(sizeof(KivProperty::propertyType), 4U);
}

TEST(KivProperty, NewCellIsVoid) {
    const KivProperty property;
    EXPECT_EQ(property.getType(), KivProperty::Void);
    EXPECT_EQ(report(property), "Void\n");
}

TEST(KivProperty, EveryTypeComesBack) {
    EXPECT_EQ(valueOf<int>(cell(-7)), -7);
    EXPECT_EQ(valueOf<float>(cell(1.5F)), 1.5F);
    EXPECT_EQ(valueOf<double>(cell(-2.25)), -2.25);
    EXPECT_TRUE(valueOf<bool>(cell(true)));
    EXPECT_FALSE(valueOf<bool>(cell(false)));
    EXPECT_EQ(valueOf<char>(cell('k')), 'k');
    EXPECT_EQ(valueOf<std::wstring>(text(L"Grün")), L"Grün");
    EXPECT_EQ(valueOf<unsigned short>(cell<unsigned short>(65535)), 65535);
    EXPECT_EQ(valueOf<std::uint32_t>(cell<std::uint32_t>(4294967295U)), 4294967295U);
}

TEST(KivProperty, ClearOfAnEmptyCellDoesNothing) {
    KivProperty property;
    property.clear();
    EXPECT_EQ(property.getType(), KivProperty::Void);
    property.clear();
    EXPECT_EQ(report(property), "Void\n");
}

TEST(KivProperty, ClearEmptiesEveryType) {
    for (KivProperty property : oneOfEach()) {
        property.clear();
        EXPECT_EQ(property.getType(), KivProperty::Void);
    }
}

TEST(KivProperty, AssigningAVoidCellReleasesTheText) {
    KivProperty property = text(L"gone");
    property = KivProperty();
    EXPECT_EQ(property.getType(), KivProperty::Void);
    EXPECT_EQ(valueOf<std::wstring>(property), L"");
}

TEST(KivProperty, AssigningATextCopiesIt) {
    KivProperty target = cell(3);
    KivProperty source = text(L"first");
    target = source;
    source.setValue(std::wstring(L"second"));
    EXPECT_EQ(target.getType(), KivProperty::String);
    EXPECT_EQ(valueOf<std::wstring>(target), L"first");
    EXPECT_EQ(valueOf<std::wstring>(source), L"second");
}

TEST(KivProperty, AssignmentBetweenAnyTwoTypes) {
    for (const KivProperty& from : oneOfEach()) {
        for (const KivProperty& to : oneOfEach()) {
            KivProperty target = to;
            target = from;
            EXPECT_EQ(target.getType(), from.getType());
            EXPECT_FALSE(KivProperty::differs(target, from));
        }
    }
}

TEST(KivProperty, AssigningItselfKeepsTheValue) {
    KivProperty property = text(L"same");
    const KivProperty& itself = property;
    property = itself;
    EXPECT_EQ(valueOf<std::wstring>(property), L"same");
}

TEST(KivProperty, MovedFromCellIsVoid) {
    KivProperty source = text(L"moved");
    const KivProperty target(std::move(source));
    EXPECT_EQ(valueOf<std::wstring>(target), L"moved");
    EXPECT_EQ(source.getType(), KivProperty::Void); // NOLINT(bugprone-use-after-move): the state is promised
}

TEST(KivProperty, SetTakesACopyOfAnyType) {
    for (const KivProperty& from : oneOfEach()) {
        KivProperty target;
        target.set(from);
        EXPECT_FALSE(KivProperty::differs(target, from));
    }
}

TEST(KivProperty, DiffersComparesTagsFirst) {
    EXPECT_TRUE(KivProperty::differs(cell(1.0F), cell(1.0)));
    EXPECT_TRUE(KivProperty::differs(cell(1), cell<std::uint32_t>(1)));
    EXPECT_TRUE(KivProperty::differs(KivProperty(), cell(0)));
    EXPECT_FALSE(KivProperty::differs(KivProperty(), KivProperty()));
}

TEST(KivProperty, DiffersIsExact) {
    EXPECT_FALSE(KivProperty::differs(cell(0.1), cell(0.1)));
    EXPECT_TRUE(KivProperty::differs(cell(0.1), cell(std::nextafter(0.1, 1.0))));
    EXPECT_TRUE(KivProperty::differs(cell(0.1F), cell(std::nextafter(0.1F, 1.0F))));
    EXPECT_FALSE(KivProperty::differs(cell(0.0), cell(-0.0)));
    EXPECT_TRUE(KivProperty::differs(cell(-1), cell(1)));
    EXPECT_TRUE(KivProperty::differs(cell(true), cell(false)));
    EXPECT_TRUE(KivProperty::differs(cell('a'), cell('b')));
    EXPECT_TRUE(KivProperty::differs(cell<unsigned short>(1), cell<unsigned short>(2)));
    EXPECT_TRUE(KivProperty::differs(cell<std::uint32_t>(1), cell<std::uint32_t>(0x80000001U)));
}

TEST(KivProperty, NotANumberDiffersFromItself) {
    const KivProperty single = cell(std::numeric_limits<float>::quiet_NaN());
    const KivProperty wide = cell(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(KivProperty::differs(single, single));
    EXPECT_TRUE(KivProperty::differs(wide, wide));
    EXPECT_TRUE(KivProperty::differs(wide, cell(0.0)));
}

TEST(KivProperty, TextsDifferInCase) {
    EXPECT_TRUE(KivProperty::differs(text(L"Cartoon"), text(L"cartoon")));
    EXPECT_FALSE(KivProperty::differs(text(L"Cartoon"), text(L"Cartoon")));
    EXPECT_TRUE(KivProperty::differs(text(L""), text(L" ")));
}

TEST(KivProperty, ReportsAreExact) {
    EXPECT_EQ(report(cell(-7)), "Int: -7\n");
    EXPECT_EQ(report(cell(1.5F)), "Float: 1.500000\n");
    EXPECT_EQ(report(cell(-2.25)), "Double: -2.250000\n");
    EXPECT_EQ(report(cell(true)), "Bool: true\n");
    EXPECT_EQ(report(cell(false)), "Bool: false\n");
    EXPECT_EQ(report(cell('k')), "Char: k\n");
    EXPECT_EQ(report(text(L"a text")), "String: a text\n");
    EXPECT_EQ(report(text(L"")), "String: \n");
    EXPECT_EQ(report(cell<unsigned short>(12)), "UnsignedShort: 12h\n");
    EXPECT_EQ(report(cell<std::uint32_t>(12)), "UnsignedLong: 12l\n");
    EXPECT_EQ(report(cell<std::uint32_t>(4294967295U)), "UnsignedLong: 4294967295l\n");
}

TEST(KivProperty, ReportDoesNotDependOnTheLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "C"); // knows no letter beyond ASCII
    EXPECT_EQ(report(text(L"Grün")), "String: Gr\xC3\xBCn\n");
    std::setlocale(LC_ALL, before.c_str());
}

TEST(KivProperty, ReportTakesTheLargestNumbers) {
    const std::string largest = report(cell(std::numeric_limits<double>::max()));
    EXPECT_EQ(largest.size(), std::string("Double: \n").size() + 309 + 7);
    EXPECT_EQ(report(cell(std::numeric_limits<double>::infinity())), "Double: inf\n");
}

// Readers go by place and not by tag: a stream in the wrong order must give wrong numbers and no more.
TEST(KivProperty, ReadingAsAnotherTypeStaysInsideTheCell) {
    EXPECT_EQ(valueOf<std::uint32_t>(cell(-1)), 4294967295U);
    EXPECT_EQ(valueOf<double>(cell<char>(0)), 0.0);
    EXPECT_EQ(valueOf<int>(cell(true)), 1);
    EXPECT_TRUE(valueOf<bool>(cell(2)));
    EXPECT_FALSE(valueOf<bool>(cell(256)));
    EXPECT_EQ(valueOf<int>(text(L"12")), 0);
    EXPECT_EQ(valueOf<double>(KivProperty()), 0.0);
    EXPECT_EQ(valueOf<std::wstring>(cell(12)), L"");
}
