#include "studio/endtoend/studiouser.h"

#include "apps/studio/lookpanel.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/shader/kivshader.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QScreen>
#include <cmath>
#include <stdexcept>

StudioUser::StudioUser() : former(KivToolkit::install(&toolkit)) {
    qputenv("XDG_STATE_HOME", file("state").toUtf8());
}

StudioUser::~StudioUser() {
    window.reset();
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        KivShader::getByIndex(i)->destroyPages(nullptr);
    }
    host.reset();
    loader.unloadShaders();
    KivToolkit::install(former);
}

void StudioUser::SetUp() {
    ASSERT_TRUE(kivLoadLanguage(L"en"));
    host = std::make_unique<StudioHost>();
    ASSERT_TRUE(loader.loadShaders());
    open();
}

void StudioUser::open() {
    window.reset();
    window = std::make_unique<StudioWindow>(*host, toolkit);
    window->show();
}

void StudioUser::play(const std::function<void()>& story) {
    std::string fault;
    const std::unique_ptr<QThread> user(QThread::create([&] {
        try {
            story();
        } catch (const std::exception& thrown) {
            fault = thrown.what();
            // What the screen showed then.
            const QString picture = QDir::temp().filePath("selvarin-endtoend.png");
            ask([&picture] { QGuiApplication::primaryScreen()->grabWindow(0).save(picture); });
            fault += "; the screen is in " + picture.toStdString();
        }
        QMetaObject::invokeMethod(
            qApp, [] { QApplication::exit(); }, Qt::QueuedConnection);
    }));
    user->start();
    QApplication::exec();
    user->wait();
    if (!fault.empty()) {
        ADD_FAILURE() << fault;
    }
}

void StudioUser::require(bool holds, const QString& what) {
    if (!holds) {
        throw std::runtime_error(what.toStdString());
    }
}

void StudioUser::await(const QString& what, const std::function<bool()>& f, int milliseconds) {
    QElapsedTimer time;
    time.start();
    while (!ask(f)) {
        require(time.elapsed() < milliseconds, "waited in vain: " + what);
        QThread::msleep(5);
    }
}

void StudioUser::settle() {
    await("the view to settle", [this] { return window->isSettled(); });
}

void StudioUser::awaitDialog() {
    qulonglong id = 0;
    await("a dialog", [&id] {
        const QWidget* const modal = QApplication::activeModalWidget();
        id = modal != nullptr && modal->isVisible() ? modal->winId() : 0;
        return id != 0;
    });
    Hand::focus(id);
    await("the keys to go to the dialog",
          [] { return QApplication::activeWindow() == QApplication::activeModalWidget(); });
}

void StudioUser::awaitNoDialog() {
    await("the dialog to close", [] { return QApplication::activeModalWidget() == nullptr; });
    toWindow();
}

void StudioUser::chooseFile(const QString& name) {
    await("a file dialog", [] { return qobject_cast<QFileDialog*>(QApplication::activeModalWidget()) != nullptr; });
    awaitDialog();
    Hand::keys("ctrl+a");
    Hand::type(name);
    await("the name to stand in the dialog", [&name] {
        const auto* const dialog = QApplication::activeModalWidget();
        const auto* const field = dialog->findChild<QLineEdit*>("fileNameEdit");
        return field != nullptr && field->text() == name;
    });
    Hand::keys("Return");
    await("the file dialog to close",
          [] { return qobject_cast<QFileDialog*>(QApplication::activeModalWidget()) == nullptr; });
    // Where the keys go on: to a dialog that asked for the file, or to the window.
    if (ask([] { return QApplication::activeModalWidget() != nullptr; })) {
        awaitDialog();
    } else {
        toWindow();
    }
}

void StudioUser::toWindow() {
    const qulonglong id = ask([this] { return static_cast<qulonglong>(window->winId()); });
    Hand::focus(id);
    await("the keys to go to the window", [this] { return QApplication::activeWindow() == window.get(); });
}

QPoint StudioUser::on(QWidget* widget) {
    require(widget != nullptr, "the widget is there");
    return ask([widget] { return at(*widget, widget->rect().center()); });
}

QPoint StudioUser::at(const QWidget& widget, QPoint point) {
    return widget.mapToGlobal(point);
}

QWidget* StudioUser::control(int number) {
    return ask([this, number]() -> QWidget* {
        for (QWidget* const each : find<LookPanel>()->findChildren<QWidget*>()) {
            if (each->property("control").isValid() && each->property("control").toInt() == number) {
                return each;
            }
        }
        return nullptr;
    });
}

QTabWidget& StudioUser::tabs() const {
    return *qobject_cast<QTabWidget*>(window->centralWidget());
}

QString StudioUser::file(const QString& name) const {
    return QString::fromStdString(home.path().string()) + "/" + name;
}

QString StudioUser::write(const QString& name, const QByteArray& content) const {
    QFile out(file(name));
    EXPECT_TRUE(out.open(QIODevice::WriteOnly) && out.write(content) == content.size());
    return file(name);
}

double StudioUser::covered(const QImage& image) {
    const QRgb ground = image.pixel(1, 1);
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            count += image.pixel(x, y) != ground ? 1 : 0;
        }
    }
    return static_cast<double>(count) / (image.width() * image.height());
}

QByteArray twoBoxes() {
    return "o left\n"
           "v -3 0 0\nv -1 0 0\nv -1 2 0\nv -3 2 0\nv -3 0 2\nv -1 0 2\nv -1 2 2\nv -3 2 2\n"
           "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n"
           "o right\n"
           "v 1 0 0\nv 3 0 0\nv 3 2 0\nv 1 2 0\nv 1 0 2\nv 3 0 2\nv 3 2 2\nv 1 2 2\n"
           "f 12 11 10 9\nf 13 14 15 16\nf 9 10 14 13\nf 10 11 15 14\nf 11 12 16 15\nf 12 9 13 16\n";
}

QByteArray wavyRing(int around, int across) {
    constexpr double turn = 6.283185307179586;
    QByteArray text;
    for (int i = 0; i < around; ++i) {
        for (int j = 0; j < across; ++j) {
            const double u = turn * i / around;
            const double v = turn * j / across;
            const double thick = 0.5 + 0.05 * std::sin(40.0 * u) * std::sin(24.0 * v);
            const double far = 1.5 + thick * std::cos(v);
            text += QString::asprintf("v %.5f %.5f %.5f\n", far * std::cos(u), thick * std::sin(v), far * std::sin(u))
                        .toLatin1();
        }
    }
    const auto corner = [=](int i, int j) { return i % around * across + j % across + 1; };
    for (int i = 0; i < around; ++i) {
        for (int j = 0; j < across; ++j) {
            text += QString::asprintf("f %d %d %d %d\n", corner(i, j), corner(i, j + 1), corner(i + 1, j + 1),
                                      corner(i + 1, j))
                        .toLatin1();
        }
    }
    return text;
}
