#include "kivrender/dialogs/kivoptionsdlg.h"
#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/host/kivdefaulthost.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "qt/kivqttoolkit.h"
#include "qt/kivqtwindow.h"
#include "support/temphome.h"

#include <QApplication>
#include <QTest>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace {

class QtDialogs : public testing::Test {
protected:
    QtDialogs() : former(KivToolkit::install(&toolkit)) {
        KivHostApplicationServices::setDefaultHost(&host);
        kivLoadLanguage(L"en");
        renderer.loadShaders();
    }
    ~QtDialogs() override {
        renderer.unloadShaders();
        KivToolkit::install(former);
    }

    const TempHome home;
    KivDefaultHost host;
    KivQtToolkit toolkit;
    KivToolkit* former;
    KivRenderer renderer;
};

} // namespace

TEST_F(QtDialogs, Look) {
    KivMemoryDataManager stream;
    stream.setSaving();
    stream.setDefault();
    KivCommonSettings settings;
    host.setShowPreview(true);
    KivPropertiesDlg dialog;
    ASSERT_NE(dialog.Create(&stream, &settings, KivPropertiesDlg::propertiesTemplate, nullptr), 0);
    QWidget* widget = KivQtWindow::widgetOf(dialog.getWindow());
    dialog.getWindow()->show(true);
    QTest::qWait(100);
    widget->grab().save("/tmp/properties.png");
    KivOptionsDlg options;
    KivMemoryCommonDataManager common;
    settings.saveDataOnHost(&common);
    ASSERT_NE(options.Create(&stream, &common, {4, 3}, nullptr), 0);
    options.OnActivate(1);
    QTest::qWait(100);
    KivQtWindow::widgetOf(options.getWindow())->grab().save("/tmp/options.png");
}
