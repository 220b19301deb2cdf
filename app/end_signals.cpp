#include "end_signals.h"

#include <csignal>

namespace qel {

namespace {
volatile std::sig_atomic_t g_stopSignal = 0;
void OnSignal(int sig) { g_stopSignal = sig; }
}  // namespace

EndOnSignal::EndOnSignal(std::function<void()> end, QObject* parent) : QObject(parent), end_(std::move(end)) {
    std::signal(SIGINT, OnSignal);
    std::signal(SIGTERM, OnSignal);
    connect(&watch_, &QTimer::timeout, this, [this] {
        if (!g_stopSignal || done_) return;
        done_ = true;
        watch_.stop();
        end_();
    });
    watch_.start(50);
}

}  // namespace qel
