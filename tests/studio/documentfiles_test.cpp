#include "apps/studio/documentfiles.h"

#include "apps/common/translation/translation.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

TEST(DocumentFiles, ErrorsAreInTheLanguageOfTheProgram) {
    const TempFolder folder;
    const QString file = QString::fromStdString((folder.path() / "no.selvarin").string());
    StudioState state;
    QString why;
    EXPECT_FALSE(loadStudioDocument(file, &state, &why));
    EXPECT_EQ(why.toStdString(), file.toStdString() + ": The file can't be found.");
    chooseTextLanguage("es");
    EXPECT_FALSE(loadStudioDocument(file, &state, &why));
    QString whyNotWritten;
    EXPECT_FALSE(replaceFile(file + QStringLiteral("/deeper"), "x", &whyNotWritten));
    chooseTextLanguage("en");
    EXPECT_EQ(why.toStdString(), file.toStdString() + ": No se encuentra el archivo.");
    EXPECT_TRUE(whyNotWritten.contains(QStringLiteral("/deeper: No se encuentra"))) << whyNotWritten.toStdString();
}
