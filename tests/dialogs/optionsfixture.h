// An options dialog over a store in memory, in a desktop that plays its user.
#ifndef TESTS_DIALOGS_OPTIONSFIXTURE_H
#define TESTS_DIALOGS_OPTIONSFIXTURE_H

#include "kivrender/dialogs/kivoptionsdlg.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "support/recordingtoolkit.h"
#include "support/testhost.h"

#include <gtest/gtest.h>

class KivOptionsDlgTest : public testing::Test {
protected:
    using Dlg = KivOptionsDlg;

    // The dialog on what is in stored.
    WindowRecord& open(SIZE proportions = {4, 3}) {
        EXPECT_TRUE(stored.saveDataOnHost(&store));
        EXPECT_NE(dialog.Create(nullptr, &store, proportions, nullptr), 0);
        WindowRecord& user = *toolkit.windows.back();
        user.groups = {{Dlg::antialiasNone, Dlg::antialiasTwo, Dlg::antialiasFour},
                       {Dlg::speedFirst, Dlg::speedSecond}};
        return user;
    }
    KivCommonSettings apply() {
        EXPECT_TRUE(dialog.OnApply());
        KivCommonSettings kept;
        EXPECT_TRUE(kept.loadDataFromHost(&store));
        return kept;
    }
    TestHost host;
    RecordingToolkit toolkit;
    KivMemoryCommonDataManager store;
    KivCommonSettings stored;
    KivOptionsDlg dialog;
};

#endif
