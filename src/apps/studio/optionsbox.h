// The frame around the page of options: OK keeps, Cancel forgets.
#ifndef APPS_STUDIO_OPTIONSBOX_H
#define APPS_STUDIO_OPTIONSBOX_H

#include "kivrender/dialogs/kivoptionsdlg.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "qt/kivqtwindow.h"

#include <QDialog>

class QCheckBox;

class OptionsBox : public QDialog {
    Q_OBJECT

public:
    // proportions: those that the lock of the aspect keeps.
    OptionsBox(const KivCommonSettings& options, SIZE proportions, QWidget* parent);
    ~OptionsBox() override;

    // The options as decided with OK.
    const KivCommonSettings& options() const;
    void setWithoutBackground(bool on);
    bool withoutBackground() const;

    // Stays, with a message, if the options can't be kept.
    void accept() override;

private:
    KivCommonSettings chosen;
    KivMemoryCommonDataManager store;
    KivQtWindow frame;
    KivOptionsDlg page;
    QCheckBox* bare = nullptr; // without a background
};

#endif
