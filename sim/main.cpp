// qelsim: serves simulated chambers until "quit" on stdin, SIGINT or SIGTERM.
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>
#include <csignal>
#include <cstdio>
#include <memory>

#include "bus.h"
#include "commands.h"
#include "options.h"
#include "pty.h"
#include "serial_server.h"
#include "tcp_server.h"

using namespace qelsim;

namespace {

// How often the chambers are stepped between requests (wall time).
constexpr int StepMs = 100;

int signalPipe[2] = {-1, -1};

void OnSignal(int) {
    const char c = 1;
    [[maybe_unused]] auto n = ::write(signalPipe[1], &c, 1);
}

void Say(const QString& line) {
    std::fputs(line.toLocal8Bit().constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

void Complain(const QString& line) {
    std::fputs(("qelsim: " + line + "\n").toLocal8Bit().constData(), stderr);
    std::fflush(stderr);
}

// Reads command lines from stdin without blocking the event loop. At the
// end of stdin qelsim goes on serving; it ends on "quit" or a signal.
class StdinReader : public QObject {
public:
    StdinReader(Bus& bus, const std::unique_ptr<PtyPort>& pty, QObject* parent)
        : QObject(parent), bus_(bus), pty_(pty), notifier_(0, QSocketNotifier::Read) {
        connect(&notifier_, &QSocketNotifier::activated, this, [this] { read(); });
    }

private:
    void read() {
        char buf[1024];
        const ssize_t n = ::read(0, buf, sizeof buf);
        if (n <= 0) {
            notifier_.setEnabled(false);
            return;
        }
        pending_.append(buf, static_cast<qsizetype>(n));
        qsizetype eol;
        while ((eol = pending_.indexOf('\n')) >= 0) {
            const QString line = QString::fromLocal8Bit(pending_.left(eol));
            pending_.remove(0, eol + 1);
            const CommandResult r = line.simplified() == "hangup" ? HangUp() : RunCommand(bus_, line);
            if (!r.reply.isEmpty()) Say(r.reply);
            if (r.quit) {
                QCoreApplication::quit();
                return;
            }
        }
    }

    // The one command about the line rather than the chambers.
    CommandResult HangUp() {
        QString error;
        if (!pty_) return {"error: hangup is for a serial line", false};
        if (!pty_->hangUp(&error)) return {"error: " + error, false};
        return {"ok " + pty_->slavePath(), false};
    }

    Bus& bus_;
    const std::unique_ptr<PtyPort>& pty_;
    QSocketNotifier notifier_;
    QByteArray pending_;
};

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments();
    args.removeFirst();

    Options options;
    QString error;
    if (!ParseOptions(args, &options, &error)) {
        Complain(error);
        Complain("try qelsim --help");
        return 2;
    }
    if (options.help) {
        std::fputs(HelpText().toLocal8Bit().constData(), stdout);
        return 0;
    }

    // Simulated time: the start time plus wall time passed, times --speed.
    const QDateTime start = options.startTime.isValid() ? options.startTime : QDateTime::currentDateTime();
    QElapsedTimer wall;
    wall.start();
    const double speed = options.speed;
    Bus bus([start, wall, speed] { return start.addMSecs(static_cast<qint64>(wall.elapsed() * speed)); }, options.seed);
    if (options.verbose) bus.setTrace([](const QString& line) { Complain(line); });

    for (const ChamberConfig& c : options.chambers) {
        auto chamber = MakeChamber(c, &error);
        if (!chamber || !bus.add(std::move(chamber), &error)) {
            Complain(error);
            return 2;
        }
    }
    for (const Options::Set& s : options.sets) {
        Chamber* c = bus.chamber(s.address);
        if (!c) {
            Complain(QString("--set: no chamber at address %1").arg(s.address));
            return 2;
        }
        c->setRegister(s.reg, s.value);
    }
    for (const Options::Run& r : options.runs) {
        Chamber* c = bus.chamber(r.address);
        if (!c || r.channel > c->channelCount()) {
            Complain(QString("--run: no chamber %1 with channel %2").arg(r.address).arg(r.channel));
            return 2;
        }
        for (int ch = 1; ch <= c->channelCount(); ++ch) {
            if (r.channel == 0 || r.channel == ch) c->pressKey(ch, 1);
        }
    }
    for (const Options::FaultAt& f : options.faults) {
        if (f.address != 0 && !bus.chamber(f.address)) {
            Complain(QString("--fault: no chamber at address %1").arg(f.address));
            return 2;
        }
        for (Chamber* c : bus.chambers()) {
            if (f.address == 0 || f.address == c->address()) bus.setFault(c->address(), f.fault);
        }
    }
    if (options.frozen) {
        // A frozen map holds what --set gave, also in the registers a live
        // chamber drives (status, SP, ...), which the model had recomputed.
        for (Chamber* c : bus.chambers()) c->setFrozen(true);
        for (const Options::Set& s : options.sets) bus.chamber(s.address)->setRegister(s.reg, s.value);
    }

    QTimer stepper;
    QObject::connect(&stepper, &QTimer::timeout, &bus, &Bus::stepAll);
    stepper.start(StepMs);

    std::unique_ptr<TcpServer> tcp;
    std::unique_ptr<PtyPort> pty;
    std::unique_ptr<SerialServer> serial;
    if (options.transport == Options::Transport::Tcp) {
        tcp = std::make_unique<TcpServer>(bus, QHostAddress(options.hostBase), static_cast<quint16>(options.port),
                                          options.sameIp);
        if (!tcp->start(&error)) {
            Complain(error);
            return 1;
        }
        for (const TcpServer::Endpoint& e : tcp->endpoints())
            Say(QString("listen %1 %2:%3").arg(e.address).arg(e.host.toString()).arg(e.port));
    } else {
        pty = std::make_unique<PtyPort>();
        if (!pty->open(&error) || (!options.link.isEmpty() && !pty->makeLink(options.link, &error))) {
            Complain(error);
            return 1;
        }
        pty->setBaud(options.baud);
        serial = std::make_unique<SerialServer>(
            bus, *pty, options.transport == Options::Transport::Rtu ? Framing::Rtu : Framing::Ascii);
        Say("pty " + pty->slavePath());
        if (!options.link.isEmpty()) Say("link " + options.link);
    }

    // SIGINT and SIGTERM end the loop normally, so that the link is removed.
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) == 0) {
        auto* sn = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &app);
        QObject::connect(sn, &QSocketNotifier::activated, &app, &QCoreApplication::quit);
        std::signal(SIGINT, OnSignal);
        std::signal(SIGTERM, OnSignal);
    }
    std::signal(SIGPIPE, SIG_IGN);

    StdinReader stdinReader(bus, pty, &app);
    Say("ready");
    return app.exec();
}
