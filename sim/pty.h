// The controller's end of a serial line: the master side of a
// pseudo-terminal, whose slave the station opens as its serial port.
//
// The station closes and reopens its port on every exchange. While no one
// holds the slave open, the master reads EIO (and polls as hung up): that is
// "peer away", never an end. So the master is read by a short timer with
// non-blocking reads instead of a notifier, which would spin on the hang-up.
// A close and a reopen between two reads would go unseen that way, so the
// closes of the slave are also watched (inotify): each one is a hang-up.
// What was half received when the peer went away is dropped (hungUp()).
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

namespace qelsim {

class PtyPort : public QObject {
    Q_OBJECT
public:
    explicit PtyPort(QObject* parent = nullptr);
    ~PtyPort() override;  // closes the master and removes the link

    // Creates the pseudo-terminal with the slave in raw mode.
    bool open(QString* error);
    QString slavePath() const { return slavePath_; }
    // A symbolic link at path to the slave; an existing link there is
    // replaced, any other file is left alone and the call fails.
    bool makeLink(const QString& path, QString* error);

    // The line goes dead and comes back: the master is closed, so that the
    // peer's open port reads a hang-up, and a new pseudo-terminal takes its
    // place, with the link (if any) pointing to it.
    bool hangUp(QString* error);

    // Paces output to the given line speed (10 bits a byte); 0 sends at once.
    void setBaud(int baud) { baud_ = baud; }
    // Queues bytes for the peer. Bytes that meet a closed slave are lost, as
    // on a line no one listens to.
    void write(const QByteArray& bytes);
    // Bytes queued by write() that the line has not taken yet.
    qsizetype pending() const { return out_.size(); }

    bool peerPresent() const { return peerPresent_; }
    // Takes note of a close of the slave at once (hungUp()), ahead of the next
    // read; for a writer that must not reach the next peer.
    void checkPeer();

signals:
    void received(const QByteArray& bytes);
    void hungUp();

private:
    void poll();
    void flushOut();
    void peerAway();

    int closes_ = -1;  // inotify descriptor watching the slave's closes
    int master_ = -1;
    QString slavePath_;
    QString link_;
    QTimer timer_;
    QByteArray out_;
    qint64 lastFlushMs_ = 0;
    double credit_ = 0;  // bytes the pacing allows to send now
    int baud_ = 0;
    bool peerPresent_ = false;
};

}  // namespace qelsim
