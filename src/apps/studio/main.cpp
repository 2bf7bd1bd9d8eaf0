// selvarin-studio, the desktop application.
#include "apps/common/language.h"
#include "apps/common/leftovers.h"
#include "apps/common/quietdriver.h"
#include "apps/common/translation/translation.h"
#include "apps/studio/studiohost.h"
#include "apps/studio/studiostyle.h"
#include "apps/studio/studiowindow.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivuserfolders.h"
#include "kivrender/platform/kivglwarmup.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/shader/kivshader.h"
#include "qt/kivqttext.h"
#include "qt/kivqttoolkit.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QTimer>
#include <QTranslator>

#include <algorithm>
#include <cstdio>
#include <future>
#include <string>
#include <string_view>

namespace {

constexpr unsigned int languageCodeText = 1100;

// The shaders as long as the program runs.
class Shaders {
public:
    Shaders() {
        if (!loader.loadShaders()) {
            std::fputs("selvarin-studio: warning: no shaders were found in the folder \"shaders\" beside the library\n",
                       stderr);
        }
    }
    ~Shaders() {
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            KivShader::getByIndex(i)->destroyPages(nullptr);
        }
        loader.unloadShaders();
    }
    Shaders(const Shaders&) = delete;
    Shaders& operator=(const Shaders&) = delete;

private:
    KivRenderer loader;
};

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(QStringLiteral("Draws 3-D models the way a person would."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption(
        {QStringLiteral("lang"), QStringLiteral("The language of the windows, by its code."), QStringLiteral("CODE")});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Models, or one .selvarin document."),
                                 QStringLiteral("[FILE...]"));
}

// Whether the words ask for something that is printed.
bool asksForText(int argc, char** argv) {
    return std::any_of(argv + 1, argv + argc, [](const char* word) {
        const std::string_view text = word;
        return text == "-h" || text == "--help" || text == "--help-all" || text == "-v" || text == "--version";
    });
}

// The toolkit would end the process without a word that helps.
bool hasDisplay() {
    return qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

int runWindow(const QStringList& files, const std::string& language) {
    if (!loadLanguageOrEnglish(language)) {
        std::fputs("selvarin-studio: the language module is missing beside the library\n", stderr);
        return 1;
    }
    const QString spoken = kivToQt(kivText(languageCodeText));
    chooseTextLanguage(spoken.toStdString());
    // Numbers as that language writes them, unless the user's own country does.
    if (QLocale().language() != QLocale(spoken).language()) {
        QLocale::setDefault(QLocale(spoken));
    }
    // What Qt's own dialogs say; without its translations they speak English.
    QTranslator ownTexts;
    if (ownTexts.load(QStringLiteral("qtbase_") + spoken, QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QApplication::installTranslator(&ownTexts);
    }
    QApplication::setStyle(new StudioStyle); // which the application owns then
    KivQtToolkit toolkit;
    KivToolkit::install(&toolkit);
    int status = 0;
    {
        StudioHost host;
        const Shaders shaders;
        StudioWindow window(host, toolkit);
        window.show();
        // Once the window stands: a message about a file that can't be read has a place then.
        QTimer::singleShot(0, &window, [&] {
            window.tellMissing();
            window.openFiles(files);
            window.offerRecovery();
        });
        status = QApplication::exec();
    }
    KivToolkit::install(nullptr);
    return status;
}

} // namespace

int main(int argc, char** argv) {
    quietDriver();
    kivMakeUserFoldersAtOnce(false);
    cleanUpOnSignals();
    cleanUpOnCrashes();
    QCoreApplication::setApplicationName(QStringLiteral("selvarin-studio"));
    QCoreApplication::setApplicationVersion(QStringLiteral(SELVARIN_VERSION));
    QCommandLineParser parser;
    describe(parser);
    if (asksForText(argc, argv)) {
        const QCoreApplication application(argc, argv);
        parser.process(application);
        return 0;
    }
    if (!hasDisplay()) {
        std::fputs("selvarin-studio: there is no display to open a window on; selvarin, the command line, needs none\n",
                   stderr);
        return 1;
    }
    // The driver is slow to start, and there is a second core for it.
    const std::future<bool> warmUp = std::async(std::launch::async, [] { return kivWarmUpGl({1, 1}); });
    const QApplication application(argc, argv);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/selvarin-studio.svg")));
    QApplication::setDesktopFileName(QStringLiteral("selvarin-studio"));
    parser.process(application);
    return runWindow(parser.positionalArguments(), parser.isSet(QStringLiteral("lang"))
                                                       ? parser.value(QStringLiteral("lang")).toStdString()
                                                       : languageOfEnvironment());
}
