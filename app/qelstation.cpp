// qelstation: the monitoring and control station. With a display it opens
// the main frame; with --headless (or no display) it runs the same start-up
// and poll walk without a window.
#include "app_folder.h"
#include "end_signals.h"
#include "headless.h"
#include "main_window.h"
#include "splash.h"
#include "state.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>
#include <csignal>
#include <cstdio>
#include <memory>

using namespace qel;

namespace {

struct Options {
    QString appDir;
    bool headless = false;
    HeadlessOptions run;
    QString screenshot;
};

Options Parse(const QStringList& arguments) {
    QCommandLineParser p;
    p.setApplicationDescription(
        QStringLiteral("Monitoring and control station for QEL climate chamber controllers.\n"
                       "Polls every chamber of the line set up in the application folder, records runs and events,\n"
                       "and sends the operator's keys."));
    p.addHelpOption();
    p.addVersionOption();
    p.addOption({QStringLiteral("app-dir"),
                 QStringLiteral("Application folder with SetComm.ini and the other settings. Default: the program's "
                                "folder when it holds SetComm.ini, else a per-user data folder filled with the "
                                "shipped defaults at first start."),
                 QStringLiteral("dir")});
    p.addOption(
        {QStringLiteral("headless"), QStringLiteral("Run without a window (also chosen when there is no display).")});
    p.addOption({QStringLiteral("cycles"),
                 QStringLiteral("End after N poll ticks, in the exit order but without the question (default: "
                                "run until closed, or until SIGINT/SIGTERM)."),
                 QStringLiteral("n")});
    p.addOption({QStringLiteral("json"),
                 QStringLiteral("Print one JSON object per chamber per tick: headless the chamber's record, with a "
                                "window the texts the screen shows for it.")});
    p.addOption({QStringLiteral("screenshot"),
                 QStringLiteral("With a window: save a picture of it as PNG when the station ends."),
                 QStringLiteral("file")});
    p.process(arguments);
    Options o;
    o.appDir = p.value(QStringLiteral("app-dir"));
    o.headless = p.isSet(QStringLiteral("headless"));
    o.run.cycles = p.value(QStringLiteral("cycles")).toInt();
    o.run.json = p.isSet(QStringLiteral("json"));
    o.screenshot = p.value(QStringLiteral("screenshot"));
    return o;
}

bool HasDisplay() {
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
           qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
}

bool WantsHeadless(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        if (QByteArray(argv[i]) == "--headless") return true;
    return !HasDisplay();
}

void SetIdentity() {
    QCoreApplication::setApplicationName(QStringLiteral("qelstation"));
    QCoreApplication::setOrganizationName(QStringLiteral("QEL"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QEL_VERSION));
}

bool SetAppPath(const Options& o, QString* error) {
    const QString folder = ResolveAppFolder(o.appDir, QCoreApplication::applicationDirPath(), error);
    if (folder.isEmpty()) return false;
    AppPath = folder;
    return true;
}

int RunWindowed(QApplication& app, const Options& o) {
    QString error;
    if (!SetAppPath(o, &error)) {
        QMessageBox::critical(nullptr, QStringLiteral("Error"), error);
        return 2;
    }
    InstanceLock lock(AppPath);
    if (!lock.acquired()) {
        QMessageBox::critical(nullptr, QStringLiteral("Error"), lock.reason());
        return 1;
    }
    Splash splash;
    splash.show();
    std::unique_ptr<MainWindow> window;
    int ticks = 0;
    bool ended = false;
    // The end without the question: a signal or the cycle count.
    auto finish = [&] {
        if (ended || !window) return;
        ended = true;
        if (!o.screenshot.isEmpty()) window->grab().save(o.screenshot);
        window->frame().queryUnload(false);
        QApplication::exit(0);
    };
    QObject::connect(&splash, &Splash::timeUp, [&] {
        window = std::make_unique<MainWindow>();
        QObject::connect(&window->frame(), &MainFrame::tickDone, window.get(), [&] {
            if (ended) return;
            ++ticks;
            if (o.run.json) {
                for (const QJsonObject& shown : window->shownRows())
                    std::printf("%s\n", QJsonDocument(shown).toJson(QJsonDocument::Compact).constData());
                std::fflush(stdout);
            }
            if (o.run.cycles > 0 && ticks >= o.run.cycles) finish();
        });
        window->op().setProgressBar(splash.progressBar());
        // Loaded and captioned before it shows: the operator never sees an
        // empty, untitled frame.
        window->frame().load();
        window->caption();
        window->op().setProgressBar(nullptr);
        // The whole screen, also where no window manager maximizes it.
        if (QScreen* screen = QGuiApplication::primaryScreen()) window->setGeometry(screen->availableGeometry());
        window->showMaximized();
        splash.close();
    });
    EndOnSignal onSignal(finish);
    splash.startCountdown();
    return app.exec();
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGXFSZ
    // A file-size limit makes a log write fail, which the logs report and
    // survive; the signal would end the station instead.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    if (WantsHeadless(argc, argv)) {
        QCoreApplication app(argc, argv);
        SetIdentity();
        const Options o = Parse(app.arguments());
        QString error;
        if (!SetAppPath(o, &error)) {
            std::fprintf(stderr, "qelstation: %s\n", error.toLocal8Bit().constData());
            return 2;
        }
        InstanceLock lock(AppPath);
        if (!lock.acquired()) {
            std::fprintf(stderr, "qelstation: Error: %s\n", lock.reason().toLocal8Bit().constData());
            return 1;
        }
        return RunHeadless(o.run);
    }
    QApplication app(argc, argv);
    SetIdentity();
    return RunWindowed(app, Parse(app.arguments()));
}
