// The main frame as data and behaviour: the start-up order, the poll timer,
// the toolbar, the status panels (globals StatusPanel1..3) and the exit
// order. The widget frame and the headless station both drive this object;
// it holds no widget.
#pragma once

#include "operator.h"
#include "screen_forms.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <array>

namespace qel {

// The windows the frame opens; the widget side shows them, the headless
// side refuses. openModal returns false when the window cannot be shown.
enum class FrameForm { CommSet, Pattern, Pattern2300, WaitOperSet, DIErrName, Display, About };

class FrameHost {
public:
    virtual ~FrameHost() = default;
    virtual void showOverview(int screenNo) = 0;
    virtual void showPage(int chamber) = 0;
    virtual bool openModal(FrameForm form) = 0;
    // Starts a program or opens a file with the desktop; false when nothing could.
    virtual bool startProgram(const QString& path) = 0;
    virtual bool openFile(const QString& path) = 0;
    // A file chosen from `folder`; "" when cancelled.
    virtual QString chooseFile(const QString& folder, const QString& filter) = 0;
    virtual void closeFrame() = 0;
};

struct ToolButtonState {
    bool enabled = true;
    bool visible = true;
};

class MainFrame : public QObject {
    Q_OBJECT
public:
    static constexpr int kToolButtons = 11;

    MainFrame(Operator& op, FrameHost& host, QObject* parent = nullptr);
    ~MainFrame() override;

    // The start-up order from reading the settings to the first screen, with
    // AppPath already set: puts the port and sockets in place (unless a test
    // put its own), reads the settings, which open the link. Progress goes to
    // the operator's bar (the splash). Afterwards the poll timer runs, and
    // ConfigProblems() says what was wrong with the settings.
    void load();

    // One toolbar key, 1 to 11.
    void toolbarClick(int index);

    // The exit order: "User End Program" in the error log, then, when `ask`,
    // the "Program Exit" question. True when the program may end now; then
    // the poll is stopped and the program marked as ending, so that nothing
    // is sent or written after that line, even by a walk still on the stack.
    bool queryUnload(bool ask);

    // The tool tip of a toolbar key, from the language table.
    static QString toolTip(int index);

    const ToolButtonState& button(int index) const { return buttons_[index - 1]; }
    QTimer& readComm() { return readComm_; }
    // The pages and overview screens, loaded by load().
    ScreenForms& screens() { return screens_; }

signals:
    // After every tick of the poll timer.
    void tickDone();
    // The status panels or the toolbar changed.
    void stateChanged();
    // The load is over; ConfigProblems() holds what it found wrong.
    void loaded();

private:
    void tick();
    void loadSteps();

    Operator& op_;
    FrameHost& host_;
    QTimer readComm_;
    std::array<ToolButtonState, kToolButtons> buttons_{};
    ScreenForms screens_;
};

// ScreenNo by chamber count: 5-9 give 2, 10-16 give 3, 17-25 give 4, 26-30
// give 5, anything else 1.
int16_t ScreenNoFor(int maxChamberNo);

}  // namespace qel
