// The serial line dies under the running station: qelsim closes its end of
// the pseudo-terminal and opens a new one behind the same path, as a
// converter that is unplugged and plugged in again.
#include "line_fixture.h"
#include "profile.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qeltest;

// Guards against a station that holds on to a dead port, or ends, after a
// hang-up: it reopens the port by its path on every exchange and polls on.
TEST(LineHangUp, StationPollsOnThroughTheSamePath) {
    QTemporaryDir links;
    const QString link = links.path() + "/ttyQEL";
    SimLine line;
    ASSERT_TRUE(line.start("RTU", {{1, "QEL2000"}}, {"--link", link}));
    ASSERT_TRUE(qel::WriteProfileString("Ports", "COM1", link, line.folder() + "/SetComm.ini"));
    ChildProcess station;
    ASSERT_TRUE(station.start(QStringLiteral(QELSTATION_PATH), {"--headless", "--app-dir", line.folder(), "--json"}));
    const auto good = [](const QJsonObject& o) { return o["Polled"].toBool() && o["FailCount"].toInt() == 0; };
    ASSERT_TRUE(ReadUntil(station, good)) << station.stderrText().toStdString();

    ASSERT_FALSE(line.command("hangup").isNull());
    // Records of reads before the hang-up may still be on their way: wait
    // until the new line has been asked, then take good reads from it.
    const int asked = line.requests(1);
    ASSERT_TRUE(ReadUntil(station, [&](const QJsonObject&) { return line.requests(1) > asked; }))
        << "the new line was never asked";
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(ReadUntil(station, good)) << "no good read after the hang-up";

    station.process().terminate();
    ASSERT_TRUE(station.process().waitForFinished(10000));
    EXPECT_EQ(station.process().exitCode(), 0);
    EXPECT_TRUE(EndsOnceAndLast(line.errorLog())) << line.errorLog().toStdString();
}
