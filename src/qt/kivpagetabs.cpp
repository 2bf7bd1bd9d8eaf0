#include "qt/kivpagetabs.h"

#include <QScrollArea>
#include <QScrollBar>
#include <QTabBar>
#include <QVBoxLayout>

KivPageTabs::KivPageTabs(QWidget* parent) : QWidget(parent), bar(new QTabBar(this)), area(new QScrollArea(this)) {
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(bar);
    column->addWidget(area, 1);
    bar->setExpanding(false);
    bar->setDrawBase(false);
    bar->setUsesScrollButtons(true);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusProxy(bar);
}

KivPageTabs::~KivPageTabs() {
    area->takeWidget(); // it is another's
}

QTabBar* KivPageTabs::tabs() const {
    return bar;
}

void KivPageTabs::place(QWidget* page) {
    if (area->widget() == page) {
        return;
    }
    if (QWidget* const former = area->takeWidget()) {
        former->hide();
    }
    if (page != nullptr) {
        area->setWidget(page);
        // As narrow as the page can be read.
        area->setMinimumWidth(page->minimumSizeHint().width() + area->verticalScrollBar()->sizeHint().width() + 4);
    }
}

QWidget* KivPageTabs::page() const {
    return area->widget();
}
