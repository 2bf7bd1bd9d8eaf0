// Several objects edited at once: pages show where they differ, and only what the user touches reaches all of them.
#include "pagesfixture.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "support/temphome.h"

#include <array>
#include <set>

namespace {

class VariedPages : public ShaderPages {
protected:
    // Objects that differ in about one of three settings.
    void makeObjects(std::size_t count, RawRandom& random) {
        objects.assign(count, {});
        before.assign(count, defaults());
        for (std::size_t s = 0; s < before[0].size(); ++s) {
            for (int i = 0; i < before[0][s].getNumSettings(); ++i) {
                const bool differ = random.chance(3);
                const double common = randomValue(before[0][s].getInfo(i), random);
                for (std::vector<KivTablePageSettings>& object : before) {
                    object[s].setValue(i, differ ? randomValue(object[s].getInfo(i), random) : common);
                }
            }
        }
        managers.clear();
        for (std::size_t i = 0; i < count; ++i) {
            write(objects[i], before[i]);
            managers.push_back(&objects[i]);
        }
    }
    bool differs(std::size_t shader, int setting) const {
        return std::any_of(before.begin(), before.end(), [&](const std::vector<KivTablePageSettings>& object) {
            return object[shader].getValue(setting) != before[0][shader].getValue(setting);
        });
    }
    void openAll() {
        merged.buildAverageData(managers);
        open(merged);
    }
    void close() {
        dialog.saveData();
        merged.rebuildObjectsDataFromAverageData(managers);
    }

    std::vector<KivMemoryDataManager> objects;
    std::vector<KivDataManager*> managers;
    std::vector<std::vector<KivTablePageSettings>> before; // each object's, shader by shader
    KivAverageDataManager merged;
};

} // namespace

TEST_F(VariedPages, ControlsShowWhereObjectsDiffer) {
    RawRandom random(21);
    makeObjects(3, random);
    openAll();
    int varied = 0;
    for (std::size_t s = 0; s < before[0].size(); ++s) {
        for (int i = 0; i < before[0][s].getNumSettings(); ++i) {
            const WindowRecord::Control& control = pageWindow(shaders()[s]).at(firstControl + i);
            EXPECT_EQ(control.varied, differs(s, i)) << before[0][s].getInfo(i).key;
            if (before[0][s].getInfo(i).type == KivSettingType::Bool) {
                EXPECT_EQ(control.check == 2, differs(s, i)) << before[0][s].getInfo(i).key;
            }
            EXPECT_EQ(values(shaders()[s]).getValue(i), before[0][s].getValue(i)) << "the first object's";
            varied += control.varied ? 1 : 0;
        }
    }
    EXPECT_GT(varied, 10);
    EXPECT_FALSE(dialog.isChanged());
}

TEST_F(VariedPages, OnlyWhatIsTouchedReachesAllObjects) {
    RawRandom random(22);
    for (int round = 0; round < 40; ++round) {
        makeObjects(1 + random.below(4), random);
        openAll();
        std::map<std::pair<std::size_t, int>, double> touched;
        for (unsigned int edits = random.below(30); edits > 0; --edits) {
            const std::size_t s = random.below(4);
            const int i = static_cast<int>(random.below(static_cast<unsigned int>(before[0][s].getNumSettings())));
            // Now and then exactly what the first object has: it too is the user's decision.
            const double value =
                random.chance(4) ? before[0][s].getValue(i) : randomValue(before[0][s].getInfo(i), random);
            work(shaders()[s], i, value);
            touched[{s, i}] = value;
            if (random.chance(5)) {
                dialog.saveData(); // as often as a host likes
            }
        }
        close();
        for (std::size_t o = 0; o < objects.size(); ++o) {
            const std::vector<KivTablePageSettings> after = read(objects[o]);
            for (std::size_t s = 0; s < after.size(); ++s) {
                for (int i = 0; i < after[s].getNumSettings(); ++i) {
                    const auto edit = touched.find({s, i});
                    const double expected = edit != touched.end() ? edit->second : before[o][s].getValue(i);
                    ASSERT_EQ(after[s].getValue(i), expected)
                        << "round " << round << ", object " << o << ": " << after[s].getInfo(i).key;
                }
            }
        }
        dialog.DestroyWindow();
        toolkit.windows.clear();
    }
}

TEST_F(VariedPages, TheButtonDecidesForAllOfItsPage) {
    RawRandom random(23);
    makeObjects(3, random);
    openAll();
    EXPECT_TRUE(pageWindow(shaders()[sketchAt]).click(defaultsButton));
    close();
    const std::vector<KivTablePageSettings> untouched = defaults();
    for (std::size_t o = 0; o < objects.size(); ++o) {
        const std::vector<KivTablePageSettings> after = read(objects[o]);
        for (std::size_t s = 0; s < after.size(); ++s) {
            for (int i = 0; i < after[s].getNumSettings(); ++i) {
                EXPECT_EQ(after[s].getValue(i), s == sketchAt ? untouched[s].getValue(i) : before[o][s].getValue(i))
                    << after[s].getInfo(i).key;
            }
        }
    }
}

TEST_F(VariedPages, AThirdStateThatIsLeftStandingStays) {
    RawRandom random(24);
    makeObjects(2, random);
    const int flat = before[0][cartoonAt].find("Flat");
    before[0][cartoonAt].setValue(flat, 1);
    before[1][cartoonAt].setValue(flat, 0);
    write(objects[0], before[0]);
    write(objects[1], before[1]);
    openAll();
    // A box of three states can be clicked round to the third again.
    pageWindow(shaders()[cartoonAt]).controls[firstControl + flat].varied = false;
    ASSERT_EQ(pageWindow(shaders()[cartoonAt]).at(firstControl + flat).check, 2);
    close();
    EXPECT_TRUE(read(objects[0])[cartoonAt].getBool(flat));
    EXPECT_FALSE(read(objects[1])[cartoonAt].getBool(flat));
}

TEST_F(VariedPages, AStyleDecidesForAll) {
    const TempFolder folder;
    const std::wstring file = folder.wide("style.kiv");
    RawRandom random(25);
    makeObjects(3, random);
    openAll();
    KivShader* const sketch = shaders()[sketchAt];
    EXPECT_TRUE(sketch->saveDataOnStyle(file.c_str(), &dialog));
    KivTablePageSettings written = defaults()[sketchAt];
    EXPECT_TRUE(written.load(sketch->getTag(), file.c_str()));
    for (int i = 0; i < written.getNumSettings(); ++i) {
        EXPECT_EQ(written.getValue(i), before[0][sketchAt].getValue(i)) << "a style has plain values";
        EXPECT_EQ(values(sketch).isVaried(i), differs(sketchAt, i)) << "saving one changes nothing";
    }
    EXPECT_TRUE(sketch->loadDataFromStyle(file.c_str(), &dialog));
    close();
    for (KivMemoryDataManager& object : objects) {
        const KivTablePageSettings after = read(object)[sketchAt];
        for (int i = 0; i < after.getNumSettings(); ++i) {
            EXPECT_EQ(after.getValue(i), before[0][sketchAt].getValue(i)) << after.getInfo(i).key;
        }
    }
}

TEST_F(VariedPages, PreviewsSeeTheFirstObject) {
    RawRandom random(26);
    makeObjects(2, random);
    openAll();
    for (std::size_t s = 0; s < before[0].size(); ++s) {
        KivScene scene;
        scene.addMesh(new KivMesh);
        shaders()[s]->preparePreview(&scene, &dialog);
        const auto* const seen =
            dynamic_cast<const KivTablePageSettings*>(scene.getMesh(0)->getPageSettings(before[0][s].getSectionName()));
        ASSERT_NE(seen, nullptr);
        for (int i = 0; i < seen->getNumSettings(); ++i) {
            EXPECT_EQ(seen->getValue(i), before[0][s].getValue(i)) << seen->getInfo(i).key;
        }
    }
}

TEST_F(VariedPages, OtherObjectsAreNotMarkedByTheFormerOnes) {
    RawRandom random(27);
    makeObjects(3, random);
    openAll();
    // The objects that are selected next have nothing of these shaders yet.
    std::array<KivMemoryDataManager, 2> plain;
    for (KivMemoryDataManager& object : plain) {
        object.setSaving();
        for (const wchar_t* const line : {L"Style:", L"NonCombinableShader:", L"CombinableShader:", L"End Morvane"}) {
            object.saveString(line);
        }
    }
    merged.buildAverageData({plain.data(), &plain[1]});
    dialog.setData(&merged);
    for (KivShader* const shader : shaders()) {
        for (int i = 0; i < values(shader).getNumSettings(); ++i) {
            EXPECT_FALSE(values(shader).isVaried(i)) << values(shader).getInfo(i).key;
            EXPECT_FALSE(shader->getPage(&dialog, 0)->getWindow()->isVaried(firstControl + i));
        }
    }
}
