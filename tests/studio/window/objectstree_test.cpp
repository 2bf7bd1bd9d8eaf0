// The tree of objects: what it lists, and what its check marks and menu do.
#include "windowfixture.h"

#include "qt/kivqttext.h"

#include <QColorDialog>
#include <QLineEdit>

namespace {

// An assembly: "car" holds "body" and the group "wheels" with two, "lamp" stands beside it.
constexpr const char* assembly = R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0, 5]}],
"nodes": [{"name": "car", "children": [1, 2]}, {"name": "body", "mesh": 0},
 {"name": "wheels", "children": [3, 4]}, {"name": "left wheel", "mesh": 0, "translation": [2, 0, 0]},
 {"name": "right wheel", "mesh": 0, "translation": [4, 0, 0]}, {"name": "lamp", "mesh": 0, "translation": [6, 0, 0]}],
"meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
"accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3", "min": [0, 0, 0], "max": [1, 1, 0]}],
"bufferViews": [{"buffer": 0, "byteLength": 36}],
"buffers": [{"byteLength": 36, "uri":
 "data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA"}]})";

class ObjectsTree : public StudioWindowTest {
protected:
    void openAssembly() {
        ASSERT_TRUE(window->openFiles({write("car.gltf", assembly)}));
        tree = find<ObjectsPanel>();
        ASSERT_EQ(tree->count(), 4);
        settle();
    }
    // Of the group or object of that name.
    QTreeWidgetItem* item(const QString& name) const {
        const QList<QTreeWidgetItem*> found = tree->findItems(name, Qt::MatchExactly | Qt::MatchRecursive);
        EXPECT_EQ(found.size(), 1) << name.toStdString();
        return found.value(0);
    }
    int objectOf(const QString& name) const {
        for (int i = 0; i < tree->count(); ++i) {
            if (tree->nameOf(i) == name) {
                return i;
            }
        }
        return -1;
    }
    void check(const QString& name, bool on) const {
        item(name)->setCheckState(0, on ? Qt::Checked : Qt::Unchecked);
        QTest::qWait(1);
    }
    void selectByName(const QString& name) const {
        tree->clearSelection();
        item(name)->setSelected(true);
    }
    QStringList hidden() const {
        QStringList names;
        for (const auto& [object, state] : window->state().shown.map()) {
            if (state.hidden) {
                names << tree->nameOf(object);
            }
        }
        names.sort();
        return names;
    }

    ObjectsPanel* tree = nullptr;
};

} // namespace

TEST_F(ObjectsTree, ListsTheTreeOfTheFile) {
    openAssembly();
    EXPECT_EQ(item("wheels")->parent(), item("car"));
    EXPECT_EQ(item("left wheel")->parent(), item("wheels"));
    EXPECT_EQ(item("body")->parent(), item("car"));
    EXPECT_EQ(item("lamp")->parent(), nullptr);
    selectByName("wheels");
    EXPECT_EQ(tree->selected(), (std::vector<int>{objectOf("left wheel"), objectOf("right wheel")}))
        << "a group stands for what is in it";
    tree->select({objectOf("lamp"), objectOf("left wheel")});
    EXPECT_EQ(tree->selected().size(), 2U);
}

TEST_F(ObjectsTree, WithoutACheckMarkNothingIsDrawn) {
    openAssembly();
    const double all = covered(find<StudioView>()->picture());
    check("wheels", false);
    EXPECT_EQ(hidden(), (QStringList{"left wheel", "right wheel"}));
    EXPECT_EQ(item("car")->checkState(0), Qt::PartiallyChecked);
    settle();
    EXPECT_LT(covered(find<StudioView>()->picture()), all * 0.8);
    EXPECT_EQ(undoAction()->text(), "&Undo: show and hide objects");
    undoAction()->trigger();
    EXPECT_TRUE(hidden().isEmpty());
    EXPECT_EQ(item("wheels")->checkState(0), Qt::Checked) << "the marks follow";
    settle();
    EXPECT_NEAR(covered(find<StudioView>()->picture()), all, all * 0.01);
}

TEST_F(ObjectsTree, IsolateHideAndShowAll) {
    openAssembly();
    selectByName("lamp");
    trigger(StudioText::isolate);
    EXPECT_EQ(hidden(), (QStringList{"body", "left wheel", "right wheel"}));
    trigger(StudioText::showAllObjects);
    EXPECT_TRUE(hidden().isEmpty());
    EXPECT_TRUE(window->state().shown.empty());
    selectByName("car");
    trigger(StudioText::hideObjects);
    EXPECT_EQ(hidden(), (QStringList{"body", "left wheel", "right wheel"}));
    EXPECT_EQ(item("car")->checkState(0), Qt::Unchecked);
    undoAction()->trigger();
    undoAction()->trigger();
    undoAction()->trigger();
    EXPECT_TRUE(hidden().isEmpty());
}

TEST_F(ObjectsTree, GhostsAreSeenThroughAndColoursAreTheUsers) {
    openAssembly();
    selectByName("body");
    trigger(StudioText::ghostObjects);
    const int body = objectOf("body");
    EXPECT_TRUE(window->state().shown.at(body).ghost);
    EXPECT_TRUE(item("body")->font(0).italic());
    trigger(StudioText::ghostObjects);
    EXPECT_FALSE(window->state().shown.at(body).ghost) << "twice is as it was";
    whenModal([](QWidget* modal) {
        auto* const dialog = qobject_cast<QColorDialog*>(modal);
        ASSERT_NE(dialog, nullptr);
        dialog->setCurrentColor(QColor(255, 0, 0));
        dialog->accept();
    });
    trigger(StudioText::colourObjects);
    EXPECT_EQ(window->state().shown.at(body).colour, 0x0000FFU);
    settle();
    const QImage red = find<StudioView>()->picture();
    int count = 0;
    for (int y = 0; y < red.height(); ++y) {
        for (int x = 0; x < red.width(); ++x) {
            const QColor pixel = red.pixelColor(x, y);
            count += pixel.red() > 120 && pixel.green() < 60 && pixel.blue() < 60 ? 1 : 0;
        }
    }
    EXPECT_GT(count, 300);
    trigger(StudioText::fileColours);
    EXPECT_FALSE(window->state().shown.at(body).colour);
}

TEST_F(ObjectsTree, TheSearchFindsByNameAndByPattern) {
    openAssembly();
    QLineEdit* search = nullptr;
    for (QLineEdit* const each : window->findChildren<QLineEdit*>()) {
        search = each->placeholderText() == studioText(StudioText::findObjects) ? each : search;
    }
    ASSERT_NE(search, nullptr);
    const auto found = [&](const QString& text) {
        search->setText(text);
        QStringList names;
        for (const int object : tree->listed()) {
            names << tree->nameOf(object);
        }
        names.sort();
        return names;
    };
    EXPECT_EQ(found("LAMP"), QStringList{"lamp"});
    EXPECT_EQ(found("wheel"), (QStringList{"left wheel", "right wheel"}));
    EXPECT_EQ(found("l*"), (QStringList{"lamp", "left wheel"}));
    EXPECT_EQ(found("car/wheels"), (QStringList{"left wheel", "right wheel"}));
    EXPECT_EQ(found("nothing"), QStringList());
    EXPECT_TRUE(item("car")->isHidden());
    EXPECT_EQ(found("").size(), 4);
}

TEST_F(ObjectsTree, DocumentsKeepWhatIsHidden) {
    openAssembly();
    check("body", false);
    chooseFile(homeFolder() + "/car.selvarin");
    trigger(StudioText::saveAs);
    ASSERT_TRUE(window->openFiles({write("boxes.obj", twoBoxes)}));
    EXPECT_TRUE(window->state().shown.empty()) << "another model has other objects";
    ASSERT_TRUE(window->openFiles({homeFolder() + "/car.selvarin"}));
    EXPECT_EQ(hidden(), QStringList{"body"});
    EXPECT_EQ(item("body")->checkState(0), Qt::Unchecked);
}
