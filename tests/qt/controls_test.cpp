// The usual widgets of a page: what a window reads, writes and tells of each.
#include "qt/kivqtwindow.h"

#include <QComboBox>
#include <QDial>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QLocale>
#include <QPlainTextEdit>
#include <QSlider>
#include <QSpinBox>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

class QtControls : public testing::Test {
protected:
    QtControls() : holder(std::make_unique<QWidget>()) {}

    template <class Widget> Widget* add() {
        auto* const widget = new Widget(holder.get());
        widget->setProperty("control", 7);
        return widget;
    }
    void open() {
        window = std::make_unique<KivQtWindow>(std::move(holder));
        window->setListener([this](const KivControlEvent& event) { told.push_back(event.change); });
    }

    std::unique_ptr<QWidget> holder;
    std::unique_ptr<KivQtWindow> window;
    std::vector<KivControlChange> told;
};

TEST_F(QtControls, ASpinBoxHoldsAWholeNumber) {
    auto* const box = add<QSpinBox>();
    box->setRange(2, 16);
    box->setSuffix(" px");
    open();
    window->setText(7, L"5");
    EXPECT_EQ(box->value(), 5);
    EXPECT_EQ(window->getText(7), L"5");
    told.clear();
    box->stepUp();
    EXPECT_EQ(window->getText(7), L"6");
    EXPECT_EQ(told, std::vector<KivControlChange>{KivControlChange::edited});
    window->setText(7, L"99");
    EXPECT_EQ(window->getText(7), L"16");
}

// Where objects differ the field is empty until one value holds for all.
TEST_F(QtControls, ASpinBoxShowsThatObjectsDiffer) {
    auto* const box = add<QSpinBox>();
    open();
    window->setText(7, L"5");
    told.clear();
    window->setVaried(7, true);
    EXPECT_TRUE(window->isVaried(7));
    EXPECT_TRUE(box->findChild<QLineEdit*>()->text().isEmpty());
    EXPECT_TRUE(told.empty());
    window->setText(7, L"5");
    EXPECT_FALSE(window->isVaried(7));
    EXPECT_EQ(box->findChild<QLineEdit*>()->text(), "5");
    window->setVaried(7, true);
    box->setValue(6);
    EXPECT_FALSE(window->isVaried(7)) << "the user has decided";
}

TEST_F(QtControls, ASpinBoxOfDecimalsTakesPlainTextInEveryLanguage) {
    QLocale::setDefault(QLocale(QLocale::German));
    auto* const box = add<QDoubleSpinBox>();
    open();
    window->setText(7, L"2.5");
    EXPECT_DOUBLE_EQ(box->value(), 2.5);
    EXPECT_EQ(window->getText(7), L"2.5");
    QLocale::setDefault(QLocale::c());
}

template <class Widget> class QtSliders : public QtControls {};
using Sliders = testing::Types<QSlider, QDial>;
TYPED_TEST_SUITE(QtSliders, Sliders);

TYPED_TEST(QtSliders, HoldWholeNumbers) {
    auto* const slider = this->template add<TypeParam>();
    this->open();
    this->window->setText(7, L"42");
    EXPECT_EQ(slider->value(), 42);
    this->told.clear();
    slider->setValue(43);
    EXPECT_EQ(this->window->getText(7), L"43");
    EXPECT_EQ(this->told, std::vector<KivControlChange>{KivControlChange::edited});
}

TEST_F(QtControls, TextsAndEditableChoices) {
    auto* const text = add<QPlainTextEdit>();
    open();
    window->setText(7, L"two\nlines");
    EXPECT_EQ(window->getText(7), L"two\nlines");
    told.clear();
    text->setPlainText("other");
    EXPECT_EQ(window->getText(7), L"other");
    EXPECT_FALSE(told.empty());

    holder = std::make_unique<QWidget>();
    auto* const combo = add<QComboBox>();
    combo->setEditable(true);
    open();
    window->setText(7, L"typed");
    EXPECT_EQ(window->getText(7), L"typed");
}

TEST_F(QtControls, ABoxAroundOthersCanBeChecked) {
    auto* const group = add<QGroupBox>();
    group->setCheckable(true);
    open();
    window->setCheck(7, 0);
    EXPECT_EQ(window->getCheck(7), 0);
    window->setCheck(7, 1);
    EXPECT_TRUE(group->isChecked());
    EXPECT_EQ(window->getCheck(7), 1);
}

} // namespace
