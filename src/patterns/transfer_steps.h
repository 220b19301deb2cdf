// The steps every pattern transfer is made of, whatever the model: writes and
// block reads through the exchange, the waits in PCSpeed, the editor's stop
// key, progress and message boxes, and the number forms of the command
// bodies. Internal to the pattern library; the models' transfers are built
// from it.
#pragma once

#include "pattern_transfer.h"

#include <QString>
#include <cstdint>
#include <array>
#include <functional>

namespace qel {

// A block read the chamber did not answer; the transfer's error step.
struct CommFailure {};

// One transfer: its chamber, the channel whose DP scales set points unless a
// step names another, and the editor's keys. Holds a reference to `ui`.
class TransferSteps {
public:
    TransferSteps(int16_t chamber, int channel, const TransferUi& ui) : chamber_(chamber), channel_(channel), ui_(ui) {}

    int16_t chamber() const { return chamber_; }

    // The editor's stop key reads "STOP".
    bool stopped() const;
    // The progress bar at `value` of `maximum`, captioned "value of maximum".
    void progress(int value, int maximum) const;
    // The bar alone, no caption (an editor whose bar runs on a timer).
    void progressValue(int value, int maximum) const;
    void message(const QString& title, const QString& text) const;
    // `times` PCSpeed through WaitSec: the editor's keys run meanwhile.
    void pause(int times) const;

    void write(const QString& body) const;
    // A block of 82 registers; "" when the chamber counts as lost. A failed
    // RTU or TCP read is "" as well, since the exchange gives nothing then.
    QString read(const QString& body) const;
    // The same, but "" for every read that was not a good one (the chamber's
    // FailCount is kept at 0 by good reads only), lost or not yet.
    QString readGood(const QString& body) const;

    // Plain values go as they are; set points scaled by the DP of the
    // transfer's channel, or of the channel named.
    QString hex(const QString& text) const;
    QString hex(int value) const;
    QString setPoint(const QString& text) const { return setPoint(text, channel_); }
    QString setPoint(const QString& text, int channel) const;
    // An empty signal, aux, flag or mode goes as "0000".
    QString hexOrZero(const QString& text) const;
    // A repeat of 0 (or empty) goes as "0001".
    QString repeatOrOne(const QString& text) const;
    // Segment i's words of these arrays as hex; an empty element is set to
    // "0000" in the record first, as the save has always left it.
    template <size_t N>
    QString wordsOf(const std::array<SegmentTexts*, N>& arrays, int i) const {
        QString words;
        for (SegmentTexts* a : arrays) {
            if ((*a)[i].isEmpty()) (*a)[i] = QStringLiteral("0000");
            words += hex((*a)[i]);
        }
        return words;
    }
    // The four loop rows, row by row: start, end and count of each.
    QString loopRows(const PatternRec& record) const;

    // Register `reg` of a block read from `first`: its signed value as text,
    // or divided by the channel's DP and formatted "###0." + DP (raw when the
    // DP is empty).
    QString plain(const QString& reply, int first, int reg) const;
    QString scaled(const QString& reply, int first, int reg) const { return scaled(reply, first, reg, channel_); }
    QString scaled(const QString& reply, int first, int reg, int channel) const;
    // Hours register and remainder register back to seconds, as text.
    QString seconds(const QString& reply, int first, int hoursReg) const;

private:
    int16_t chamber_;
    int channel_;
    const TransferUi& ui_;
};

// How a model's controller hands out one segment on a read: the body that
// selects segment i (prefix + its number), the PCSpeed waited after it, the
// load command and the read of the segment window.
struct SegmentWindow {
    QString selectPrefix;
    int selectPauses;
    QString load;
    QString read;
};

// The read's segment loop, the same on every model with segments: for
// segment 1 to count (at most the record's), the stop key, the progress, the
// selection, its wait, the stop key again, the load, 4 PCSpeed, the window's
// read and its decoding into element i - 1. The stop key leaves the loop; a
// read the chamber did not answer raises CommFailure.
void ReadSegments(const TransferSteps& t, int count, const SegmentWindow& window,
                  const std::function<void(const QString& reply, int index)>& decode);

// The segment count of a save, made as the controllers' software has always
// made it: the index before the first empty SegTime, plus one. A record with
// every element filled leaves it at 1.
int SaveSegmentCount(const PatternRec& record);

// Seconds split into the two registers of a segment time: whole hours, and
// minutes x 60 + seconds.
struct HoursAndRest {
    int32_t hours;
    int32_t rest;
};
HoursAndRest SplitSeconds(int32_t seconds);

}  // namespace qel
