// The panel of styles and shaders, over the look of the whole picture or that of selected objects.
#ifndef APPS_STUDIO_LOOKPANEL_H
#define APPS_STUDIO_LOOKPANEL_H

#include "apps/document/studiostate.h"
#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/settings/kivaveragedatamanager.h"
#include "qt/kivqtwindow.h"

#include <QWidget>

#include <vector>

class QComboBox;
class QLabel;
class QPushButton;

// The panel's dialog, with a preview that is smooth and sharp on every screen.
class LookDialog : public KivPropertiesDlg {
public:
    using KivPropertiesDlg::KivPropertiesDlg;

protected:
    void fillPreviewCommonSettings(KivCommonSettings* settings) const override;
};

class LookPanel : public QWidget {
    Q_OBJECT

public:
    explicit LookPanel(QWidget* parent = nullptr);
    ~LookPanel() override;

    // Shows the look of these objects, or without any that of the picture; name: of a single object. What the user has
    // changed and was not told yet is told first, so that the state must be the one that follows what is told.
    void show(const StudioState& state, const std::vector<int>& objects, const QString& name = {});
    // Tells at once what the user has changed last.
    void flush();
    // The state with what stands in the panel.
    void write(StudioState* state) const;

    // The style that the last change has chosen; empty if it was not a choice of a style.
    QString chosenStyle() const;

    KivPropertiesDlg& dialog();
    // The list of styles; null where the panel's form is missing.
    QComboBox* styles() const;

signals:
    // The user has changed the look; objects says whether that of objects.
    void changed(bool objects);
    // The selected objects are to look like the picture again.
    void ownLooksDropped();

private:
    void commit();
    void gather(const StudioState& state);
    QString shownStyle() const;
    void setHeading();

    KivQtWindow frame;
    LookDialog panel;
    KivCommonSettings options; // what the preview takes its colours from
    KivMemoryDataManager document;
    std::vector<int> selected;
    std::vector<KivMemoryDataManager> own; // each of the looks that selected objects have, once
    std::vector<std::size_t> ownOf;        // of each selected object, which of them
    KivAverageDataManager average;
    bool hasOwn = false; // one of them had a look of its own
    QString objectName;
    QString style;
    QString chosen;
    QComboBox* stylesBox = nullptr;
    QLabel* heading;
    QPushButton* drop;
};

#endif
