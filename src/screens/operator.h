// How screens talk to the operator: message boxes, OK/Cancel questions,
// input boxes and a progress bar. The widget side implements it with real
// dialogs; tests and the headless station use the scripted one.
#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <deque>

namespace qel {

class Operator {
public:
    virtual ~Operator() = default;
    // A message box with an OK key.
    virtual void message(const QString& title, const QString& text) = 0;
    // An OK/Cancel box; true for OK.
    virtual bool confirm(const QString& title, const QString& text) = 0;
    // An input box; a null string when cancelled.
    virtual QString input(const QString& title, const QString& prompt, const QString& initial) = 0;
    // A progress bar: value of maximum; maximum 0 takes it down.
    virtual void progress(int value, int maximum) = 0;
    // The colour dialog, opened on `color` (0x00BBGGRR); false when cancelled.
    virtual bool chooseColor(int32_t& color) {
        (void)color;
        return false;
    }
};

// Answers from a script, and a record of everything asked.
class ScriptedOperator final : public Operator {
public:
    std::deque<bool> confirmations;  // when empty, confirm() answers `defaultConfirm`
    std::deque<QString> inputs;      // when empty, input() cancels
    std::deque<int32_t> colors;      // when empty, chooseColor() cancels
    bool defaultConfirm = true;
    QStringList asked;  // "message|title|text", "confirm|title|text", "input|title|prompt"
    int progressValue = 0;
    int progressMaximum = 0;

    void message(const QString& title, const QString& text) override;
    bool confirm(const QString& title, const QString& text) override;
    QString input(const QString& title, const QString& prompt, const QString& initial) override;
    void progress(int value, int maximum) override;
    bool chooseColor(int32_t& color) override;
};

}  // namespace qel
