// Test main: an event loop exists, as in the station, so sockets, serial
// ports and WaitSec behave as they do in the program.
#include <QCoreApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
