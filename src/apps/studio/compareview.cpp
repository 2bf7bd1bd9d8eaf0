#include "apps/studio/compareview.h"

#include "apps/studio/pictureview.h"
#include "apps/studio/studiotexts.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>

CompareView::CompareView(QWidget* parent)
    : QWidget(parent), left(new QComboBox(this)), right(new QComboBox(this)), view(new PictureView(this)) {
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 6, 0, 0);
    auto* const row = new QHBoxLayout;
    row->setContentsMargins(8, 0, 8, 0);
    row->addWidget(left);
    row->addStretch(1);
    row->addWidget(right);
    column->addLayout(row);
    column->addWidget(view, 1);
    for (QComboBox* const combo : {left, right}) {
        combo->setAccessibleName(studioText(StudioText::compareWhich));
        connect(combo, &QComboBox::currentIndexChanged, this, &CompareView::show);
    }
}

void CompareView::setChoices(const std::vector<Choice>& choices) {
    const QString formerLeft = left->currentText();
    const QString formerRight = right->currentText();
    const QSignalBlocker quietLeft(left);
    const QSignalBlocker quietRight(right);
    all = choices;
    left->clear();
    right->clear();
    for (const Choice& choice : all) {
        left->addItem(choice.name);
        right->addItem(choice.name);
    }
    const int count = static_cast<int>(all.size());
    const auto choose = [](QComboBox* combo, const QString& former, int otherwise) {
        const int index = combo->findText(former);
        combo->setCurrentIndex(index >= 0 ? index : otherwise);
    };
    choose(left, formerLeft, std::max(count - 2, 0));
    choose(right, formerRight, count - 1);
    show();
}

PictureView& CompareView::picture() const {
    return *view;
}

void CompareView::show() {
    const auto image = [this](const QComboBox* combo) {
        const int index = combo->currentIndex();
        return index >= 0 && static_cast<std::size_t>(index) < all.size() ? all[static_cast<std::size_t>(index)].image
                                                                          : QImage();
    };
    view->setPictures(image(left), image(right));
}
