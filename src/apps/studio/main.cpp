// selvarin-studio, the desktop application.
#include "apps/common/language.h"
#include "apps/studio/studiohost.h"
#include "apps/studio/studiowindow.h"
#include "kivrender/host/kivlanguage.h"
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

#include <cstdio>
#include <future>

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

} // namespace

int main(int argc, char** argv) {
    // The driver is slow to start, and there is a second core for it.
    const std::future<bool> warmUp = std::async(std::launch::async, [] { return kivWarmUpGl({1, 1}); });
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("selvarin-studio"));
    QApplication::setApplicationDisplayName(QString()); // titles name it themselves
    QApplication::setApplicationVersion(QStringLiteral(SELVARIN_VERSION));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/selvarin-studio.svg")));
    QApplication::setDesktopFileName(QStringLiteral("selvarin-studio"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Draws 3-D models the way a person would."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption language(
        QStringLiteral("lang"), QStringLiteral("The language of the windows, by its code."), QStringLiteral("CODE"));
    parser.addOption(language);
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Models, or one .selvarin document."),
                                 QStringLiteral("[FILE...]"));
    parser.process(application);
    const std::string code = parser.isSet(language) ? parser.value(language).toStdString() : languageOfEnvironment();
    if (!loadLanguageOrEnglish(code)) {
        std::fputs("selvarin-studio: the language module is missing beside the library\n", stderr);
        return 1;
    }
    const QString spoken = kivToQt(kivText(languageCodeText));
    // Numbers as that language writes them, unless the user's own country does.
    if (QLocale().language() != QLocale(spoken).language()) {
        QLocale::setDefault(QLocale(spoken));
    }
    // What Qt's own dialogs say; without its translations they speak English.
    QTranslator ownTexts;
    if (ownTexts.load(QStringLiteral("qtbase_") + spoken, QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QApplication::installTranslator(&ownTexts);
    }
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
            window.openFiles(parser.positionalArguments());
            window.offerRecovery();
        });
        status = QApplication::exec();
    }
    KivToolkit::install(nullptr);
    return status;
}
