#include "kivrender/settings/kivaveragedatamanager.h"

#include "kivrender/platform/kivtypes.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "support/rawrandom.h"
#include "support/temphome.h"
#include "support/vtableslot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

using Cells = std::vector<KivProperty>;
using Flags = std::vector<bool>;

template <class T> KivProperty cell(const T& value) {
    KivProperty made;
    made.setValue(value);
    return made;
}

KivProperty text(const wchar_t* value) {
    return cell(std::wstring(value));
}

// A manager with these cells, in saving mode.
KivMemoryDataManager object(const Cells& cells) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.setDocument(cells);
    int whole = 0;
    float single = 0;
    wchar_t line[kivMaxPath] = {};
    for (const KivProperty& each : cells) {
        EXPECT_TRUE(each.getType() == KivProperty::Int     ? manager.loadIntFromFile(&whole)
                    : each.getType() == KivProperty::Float ? manager.loadFloatFromFile(&single)
                                                           : manager.loadStringFromFile(line));
    }
    return manager;
}

class Average : public KivAverageDataManager {
public:
    using KivDataManager::position;
    using KivDataManager::properties;

    Flags flags() const {
        Flags all;
        for (int i = 0; i < static_cast<int>(properties.size()); ++i) {
            all.push_back(isVaried(i));
        }
        return all;
    }
};

bool same(const Cells& a, const Cells& b) {
    bool equal = a.size() == b.size();
    for (std::size_t i = 0; equal && i < a.size(); ++i) {
        equal = !KivProperty::differs(a[i], b[i]);
    }
    return equal;
}

std::vector<KivDataManager*> pointers(std::vector<KivMemoryDataManager>& objects) {
    std::vector<KivDataManager*> all;
    for (KivMemoryDataManager& each : objects) {
        all.push_back(&each);
    }
    return all;
}

} // namespace

TEST(KivAverageDataManager, AnEmptyListLeavesNoCellsAndNoFlags) {
    KivMemoryDataManager one = object({cell(1)});
    Average average;
    average.buildAverageData({&one});
    ASSERT_EQ(average.getNumProperties(), 1);
    average.buildAverageData({});
    EXPECT_EQ(average.getNumProperties(), 0);
    average.saveCurrentVaried(true);
    EXPECT_TRUE(average.isVaried(0)) << "the first flag there is";
}

TEST(KivAverageDataManager, OneObjectVariesInNothing) {
    KivMemoryDataManager one = object({text(L"Ink"), cell(1), cell(2.5F)});
    Average average;
    average.buildAverageData({&one});
    EXPECT_TRUE(same(average.properties, one.getCells()));
    EXPECT_EQ(average.flags(), Flags({false, false, false}));
}

TEST(KivAverageDataManager, TheReadPositionIsNotTouched) {
    KivMemoryDataManager one = object({cell(1), cell(2)});
    Average average;
    average.position = 1;
    average.buildAverageData({&one});
    EXPECT_EQ(average.loadInt(), 2);
    EXPECT_TRUE(average.setLoading());
    EXPECT_EQ(average.loadInt(), 1);
}

TEST(KivAverageDataManager, AnotherTypeIsAnotherValue) {
    KivMemoryDataManager whole = object({cell(1)});
    KivMemoryDataManager single = object({cell(1.0F)});
    Average average;
    average.buildAverageData({&whole, &single});
    EXPECT_TRUE(average.isVaried(0));
    ASSERT_EQ(average.getNumProperties(), 1);
    EXPECT_EQ(average.properties[0].getType(), KivProperty::Int) << "the first object's stands";
}

TEST(KivAverageDataManager, ThereIsNoToleranceAndNoNumberThatIsNone) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float next = std::nextafter(1.0F, 2.0F);
    KivMemoryDataManager one = object({cell(1.0F), cell(nan), text(L"Ink")});
    KivMemoryDataManager two = object({cell(next), cell(nan), text(L"ink")});
    Average average;
    average.buildAverageData({&one, &two});
    EXPECT_EQ(average.flags(), Flags({true, true, true})) << "markers take part like all other cells";
    average.buildAverageData({&one});
    EXPECT_EQ(average.flags(), Flags({false, false, false}));
}

TEST(KivAverageDataManager, TheFirstObjectGivesTheNumberOfCells) {
    KivMemoryDataManager three = object({cell(1), cell(2), cell(3)});
    KivMemoryDataManager five = object({cell(1), cell(7), cell(3), cell(4), cell(5)});
    Average average;
    average.buildAverageData({&three, &five});
    EXPECT_TRUE(same(average.properties, three.getCells()));
    EXPECT_EQ(average.flags(), Flags({false, true, false}));
    average.buildAverageData({&five, &three});
    EXPECT_TRUE(same(average.properties, five.getCells()));
    EXPECT_EQ(average.flags(), Flags({false, true, false, false, false})) << "what is missing does not differ";
}

TEST(KivAverageDataManager, NullsInTheListArePassedOver) {
    KivMemoryDataManager one = object({cell(1), cell(2)});
    KivMemoryDataManager two = object({cell(1), cell(3)});
    one.setMinorVersion(4);
    Average average;
    average.buildAverageData({nullptr, &one, nullptr, &two});
    EXPECT_EQ(average.flags(), Flags({false, true}));
    average.properties[0] = cell(9);
    average.rebuildObjectsDataFromAverageData({nullptr, &one, nullptr, &two});
    EXPECT_TRUE(same(one.getCells(), {cell(9), cell(2)}));
    EXPECT_TRUE(same(two.getCells(), {cell(9), cell(3)}));
    EXPECT_EQ(average.getMinorVersion(), 4);
    average.buildAverageData({nullptr});
    EXPECT_EQ(average.getNumProperties(), 0);
}

TEST(KivAverageDataManager, WhatVariesStaysAsItIsInEveryObject) {
    KivMemoryDataManager one = object({cell(1), cell(2)});
    KivMemoryDataManager two = object({cell(1), cell(3)});
    Average average;
    average.buildAverageData({&one, &two});
    average.properties[1] = cell(99); // whatever stands in the place of a varied value
    average.rebuildObjectsDataFromAverageData({&one, &two});
    EXPECT_TRUE(same(one.getCells(), {cell(1), cell(2)}));
    EXPECT_TRUE(same(two.getCells(), {cell(1), cell(3)}));
}

TEST(KivAverageDataManager, AChangedValueReachesEveryObject) {
    KivMemoryDataManager one = object({cell(1), cell(2)});
    KivMemoryDataManager two = object({cell(1), cell(3)});
    one.setChanged(false);
    Average average;
    average.buildAverageData({&one, &two});
    // As a dialog does: it reads, then writes everything anew. The second value was varied and is given one for all.
    ASSERT_TRUE(average.setLoading());
    EXPECT_EQ(average.loadInt(), 1);
    EXPECT_FALSE(average.isCurrentVaried());
    EXPECT_EQ(average.loadInt(), 2);
    EXPECT_TRUE(average.isCurrentVaried());
    average.clearData();
    average.setSaving();
    average.saveInt(8);
    average.saveCurrentVaried(false);
    average.saveInt(7);
    average.saveCurrentVaried(false);
    average.rebuildObjectsDataFromAverageData({&one, &two});
    EXPECT_TRUE(same(one.getCells(), {cell(8), cell(7)}));
    EXPECT_TRUE(same(two.getCells(), {cell(8), cell(7)}));
    EXPECT_FALSE(one.isChanged()) << "to mark the objects is the host's";
}

TEST(KivAverageDataManager, CellsBehindTheFirstObjectsGoToTheEndOfEach) {
    KivMemoryDataManager one = object({cell(1)});
    KivMemoryDataManager longer = object({cell(1), cell(2), cell(3)});
    KivMemoryDataManager empty;
    KivMemoryDataManager source = object({cell(1), cell(20), cell(30)});
    Average average;
    average.buildAverageData({&source});
    average.rebuildObjectsDataFromAverageData({&one, &longer, &empty});
    EXPECT_TRUE(same(one.getCells(), {cell(1), cell(20), cell(30)}))
        << "its growth must not turn the later cells into replacements";
    EXPECT_TRUE(same(longer.getCells(), {cell(1), cell(2), cell(3), cell(20), cell(30)}));
    EXPECT_TRUE(same(empty.getCells(), {cell(1), cell(20), cell(30)}));
}

TEST(KivAverageDataManager, AManagerAmongItsOwnObjectsComesToAnEnd) {
    KivMemoryDataManager one = object({cell(1)});
    KivMemoryDataManager source = object({cell(1), cell(2)});
    Average average;
    average.buildAverageData({&source});
    average.rebuildObjectsDataFromAverageData({&one, &average});
    EXPECT_TRUE(same(one.getCells(), {cell(1), cell(2)}));
    EXPECT_TRUE(same(average.properties, {cell(1), cell(2), cell(2)}));
}

TEST(KivAverageDataManager, GivingBackToNobodySetsTheVersionOnly) {
    KivMemoryDataManager one = object({cell(1)});
    one.setMinorVersion(3);
    Average average;
    average.buildAverageData({&one});
    average.rebuildObjectsDataFromAverageData({&one});
    EXPECT_EQ(average.getMinorVersion(), 3);
    average.rebuildObjectsDataFromAverageData({});
    EXPECT_EQ(average.getMinorVersion(), 5);
    EXPECT_TRUE(same(average.properties, {cell(1)}));
    EXPECT_EQ(average.flags(), Flags({false}));
    EXPECT_EQ(one.getMinorVersion(), 3);
    EXPECT_TRUE(same(one.getCells(), {cell(1)}));
}

TEST(KivAverageDataManager, TheFileOperationsSucceedAndStoreNothing) {
    Average average;
    average.setSaving();
    int whole = 7;
    double number = 7.5;
    float single = 7.25F;
    bool yes = true;
    char letter = 'x';
    wchar_t line[kivMaxPath] = L"kept";
    unsigned short narrow = 7;
    std::uint32_t colour = 7;
    EXPECT_TRUE(average.loadIntFromFile(&whole));
    EXPECT_TRUE(average.loadDoubleFromFile(&number));
    EXPECT_TRUE(average.loadFloatFromFile(&single));
    EXPECT_TRUE(average.loadBoolFromFile(&yes));
    EXPECT_TRUE(average.loadCharFromFile(&letter));
    EXPECT_TRUE(average.loadStringFromFile(line));
    EXPECT_TRUE(average.loadUnsignedShortFromFile(&narrow));
    EXPECT_TRUE(average.loadUnsignedLongFromFile(&colour));
    EXPECT_EQ(whole, 7);
    EXPECT_EQ(number, 7.5);
    EXPECT_EQ(single, 7.25F);
    EXPECT_TRUE(yes);
    EXPECT_EQ(letter, 'x');
    EXPECT_STREQ(line, L"kept");
    EXPECT_EQ(narrow, 7);
    EXPECT_EQ(colour, 7U);
    EXPECT_EQ(average.getNumProperties(), 0);
}

TEST(KivAverageDataManager, NothingIsVariedWhereThereIsNoFlag) {
    Average average;
    EXPECT_FALSE(average.isCurrentVaried());
    EXPECT_FALSE(average.isVaried(-1));
    EXPECT_FALSE(average.isVaried(0));
    average.saveCurrentVaried(true);
    EXPECT_FALSE(average.isCurrentVaried()) << "nothing was read yet";
    EXPECT_TRUE(average.isVaried(0));
    EXPECT_FALSE(average.isVaried(1));
}

TEST(KivAverageDataManager, ClearingRemovesTheFlagsToo) {
    Average average;
    average.setSaving();
    average.saveInt(1);
    average.saveCurrentVaried(true);
    average.clearData();
    EXPECT_EQ(average.getNumProperties(), 0);
    EXPECT_FALSE(average.isVaried(0));
    EXPECT_TRUE(average.saveInt(2)) << "still in saving mode";
}

TEST(KivAverageDataManager, MarkersComeWithTheirFlags) {
    Average average;
    average.setSaving();
    average.startShader(L"Ink");
    average.startSection(L"Lines");
    average.saveInt(1);
    average.saveCurrentVaried(true);
    EXPECT_EQ(average.flags(), Flags({false, false, true}));
}

TEST(KivAverageDataManager, CopyingTakesTheFlagsAlong) {
    Average average;
    average.setSaving();
    average.saveInt(1);
    average.saveCurrentVaried(true);
    average.saveInt(2);
    average.saveCurrentVaried(false);
    average.setMinorVersion(4);

    Average filled;
    filled.setSaving();
    filled.saveString(L"old");
    filled.saveCurrentVaried(true);
    filled.fromOtherDataManager(average);
    EXPECT_TRUE(same(filled.properties, average.properties));
    EXPECT_EQ(filled.flags(), Flags({true, false}));
    EXPECT_EQ(filled.getMinorVersion(), 4);
    EXPECT_FALSE(filled.saveInt(1)) << "in loading mode";

    Average copy(average);
    EXPECT_EQ(copy.flags(), Flags({true, false}));
    EXPECT_EQ(copy.loadInt(), 1) << "in loading mode, at the beginning";
    average.fromOtherDataManager(average);
    EXPECT_TRUE(same(average.properties, {cell(1), cell(2)}));
    EXPECT_EQ(average.flags(), Flags({true, false}));

    KivMemoryDataManager plain = object({cell(3)});
    filled.fromOtherDataManager(plain);
    EXPECT_EQ(filled.flags(), Flags({false}));
}

TEST(KivAverageDataManager, ReportShowsEachCellWithItsFlag) {
    const TempFolder folder;
    KivMemoryDataManager one = object({text(L"Ink"), cell(1)});
    KivMemoryDataManager two = object({text(L"Ink"), cell(2)});
    Average average;
    average.buildAverageData({&one, &two});
    average.report(folder.wide("report.txt").c_str());
    EXPECT_EQ(folder.read("report.txt"), "NumProperties: 2\nNumVaried: 2\n\n0- String: Ink\n0- Varied: false\n"
                                         "1- Int: 1\n1- Varied: true\n");
}

TEST(KivAverageDataManager, StandsOnTheSlotsOfItsBase) {
    EXPECT_EQ(vtableSlot(&KivAverageDataManager::clearData), 1);
    EXPECT_EQ(vtableSlot(&KivAverageDataManager::saveCurrentVaried), 11);
    EXPECT_EQ(vtableSlot(&KivAverageDataManager::buildAverageData), -1);
    EXPECT_EQ(vtableSlot(&KivAverageDataManager::rebuildObjectsDataFromAverageData), -1);
}

// Invariants of any objects, over a few thousand small ones of few different values and unequal lengths.
class KivAverageDataManagerProperties : public testing::TestWithParam<std::uint32_t> {
protected:
    KivProperty randomCell() {
        switch (random.below(3)) {
        case 0:
            return cell(static_cast<int>(random.below(2)));
        case 1:
            return cell(random.chance(8) ? std::numeric_limits<float>::quiet_NaN()
                                         : static_cast<float>(random.below(2)));
        default:
            return text(random.chance(2) ? L"a" : L"b");
        }
    }
    // Variations on one run of cells.
    std::vector<KivMemoryDataManager> randomObjects() {
        Cells model;
        for (unsigned int i = random.below(8); i > 0; --i) {
            model.push_back(randomCell());
        }
        std::vector<KivMemoryDataManager> objects;
        for (unsigned int i = 1 + random.below(4); i > 0; --i) {
            Cells cells = model;
            for (KivProperty& each : cells) {
                if (random.chance(4)) {
                    each = randomCell();
                }
            }
            cells.resize(random.below(static_cast<unsigned int>(cells.size()) + 1));
            while (random.chance(2)) {
                cells.push_back(randomCell());
            }
            objects.push_back(object(cells));
        }
        return objects;
    }

    RawRandom random{GetParam()};
};

TEST_P(KivAverageDataManagerProperties, AFlagTellsOfAnObjectThatDiffers) {
    for (int round = 0; round < 400; ++round) {
        std::vector<KivMemoryDataManager> objects = randomObjects();
        Average average;
        average.buildAverageData(pointers(objects));
        const Cells& first = objects.front().getCells();
        ASSERT_EQ(average.properties.size(), first.size());
        for (std::size_t i = 0; i < first.size(); ++i) {
            bool differs = false;
            for (std::size_t k = 1; k < objects.size(); ++k) {
                const Cells& other = objects[k].getCells();
                differs = differs || (i < other.size() && KivProperty::differs(first[i], other[i]));
            }
            EXPECT_EQ(average.isVaried(static_cast<int>(i)), differs);
        }
    }
}

TEST_P(KivAverageDataManagerProperties, GivingBackWhatNobodyChangedOnlyFillsShortObjects) {
    for (int round = 0; round < 400; ++round) {
        std::vector<KivMemoryDataManager> objects = randomObjects();
        const std::vector<KivMemoryDataManager> before = objects;
        Average average;
        average.buildAverageData(pointers(objects));
        average.rebuildObjectsDataFromAverageData(pointers(objects));
        for (std::size_t k = 0; k < objects.size(); ++k) {
            const Cells& was = before[k].getCells();
            const Cells& is = objects[k].getCells();
            ASSERT_GE(is.size(), was.size()) << "cells are never removed";
            std::size_t expected = was.size();
            for (std::size_t i = 0; i < was.size(); ++i) {
                // A NaN is never equal to itself, so its type says all.
                EXPECT_EQ(is[i].getType(), was[i].getType());
                EXPECT_TRUE(!KivProperty::differs(is[i], was[i]) || KivProperty::differs(was[i], was[i]));
            }
            // Nothing else than the common cells that it lacked.
            for (std::size_t i = was.size(); i < average.properties.size(); ++i) {
                expected += average.isVaried(static_cast<int>(i)) ? 0 : 1;
            }
            EXPECT_EQ(is.size(), expected);
        }
    }
}

TEST_P(KivAverageDataManagerProperties, AChangeReachesAllAndNothingElseChanges) {
    for (int round = 0; round < 400; ++round) {
        std::vector<KivMemoryDataManager> objects = randomObjects();
        const std::vector<KivMemoryDataManager> before = objects;
        Average average;
        average.buildAverageData(pointers(objects));
        if (average.properties.empty()) {
            continue;
        }
        const std::size_t place = random.below(static_cast<unsigned int>(average.properties.size()));
        average.properties[place] = text(L"changed by the user");
        const bool varied = average.isVaried(static_cast<int>(place));
        average.rebuildObjectsDataFromAverageData(pointers(objects));
        for (std::size_t k = 0; k < objects.size(); ++k) {
            const Cells& was = before[k].getCells();
            for (std::size_t i = 0; i < was.size(); ++i) {
                const KivProperty& is = objects[k].getCells()[i];
                if (i == place && !varied) {
                    EXPECT_FALSE(KivProperty::differs(is, text(L"changed by the user")));
                } else {
                    EXPECT_TRUE(!KivProperty::differs(is, was[i]) || KivProperty::differs(was[i], was[i]));
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, KivAverageDataManagerProperties, testing::Values(1U, 2U, 3U));
