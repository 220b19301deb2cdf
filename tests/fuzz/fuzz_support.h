// What every fuzz target shares: one application folder per process, a
// manual clock, an event loop, and the state of a freshly started station
// before each input, so that one input cannot change what the next one does
// and nothing grows from run to run.
#pragma once

#include <QByteArray>
#include <QString>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>

namespace qelfuzz {

// Once per process (LLVMFuzzerInitialize): the event loop, the temporary
// application folder and the shipped files named in `keep`, copied from
// data/app into it. `prepare` may add more; whatever the folder then holds
// stays there for every run.
void Init(int* argc, char*** argv, std::initializer_list<const char*> keep = {},
          const std::function<void()>& prepare = {});

// Before each input: every global back to its value at program load, a new
// manual clock at the same instant, the hooks off, and the folder holding
// nothing but the kept files (logs, records and the last input's files go).
void BeginRun();

// The application folder, ending in "/".
const QString& AppDir();

// Writes a file of the folder. Each write gets a modification time of its
// own, so that a reader that keeps a file until its size or time changes
// sees every input, however fast the runs come.
void WriteAppFile(const QString& name, const QByteArray& bytes);

// Reads a file of the folder ("" when absent).
QByteArray ReadAppFile(const QString& name);

// A shipped file of data/app.
QByteArray ShippedFile(const char* name);

// Advances the manual clock of the run.
void AdvanceClockMs(int64_t ms);

// Ends the process with a report when a property the code promises fails:
// libFuzzer keeps the input as a crash.
[[noreturn]] void Fail(const char* what, const QString& detail = QString());
inline void Expect(bool ok, const char* what, const QString& detail = QString()) {
    if (!ok) Fail(what, detail);
}

// Takes the input apart: bytes from the front, and what is left.
class Input {
public:
    Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }
    QByteArray take(size_t n);
    QByteArray rest() { return take(size_ - at_); }
    size_t left() const { return size_ - at_; }

private:
    const uint8_t* data_;
    size_t size_;
    size_t at_ = 0;
};

}  // namespace qelfuzz
