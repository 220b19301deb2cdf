// MDIfrmMenu: the one window that holds the others, with the toolbar and
// the three status panels. Behaviour lives in MainFrame; this is its face.
#pragma once

#include "main_frame.h"
#include "qt_operator.h"

#include <QAction>
#include <QJsonObject>
#include <QStringList>
#include <QMainWindow>
#include <array>
#include <functional>

class QLabel;
class QMdiArea;
class QMdiSubWindow;
class QToolBar;

namespace qel {

class OverviewWidget;
class ChamberPageWidget;

class MainWindow : public QMainWindow, public FrameHost {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    MainFrame& frame() { return *frame_; }
    QtOperator& op() { return op_; }
    // Captions and tool tips from the language tables.
    void caption();
    // What was wrong with the settings, in the status bar beside the three
    // panels (all of it in the tool tip); nothing shows when all is well.
    void showProblems(const QStringList& problems);
    // The texts the screen on display shows, one object per chamber cell of
    // the overview, or per channel of the page: {"Chamber", "Shown": [...]}.
    QList<QJsonObject> shownRows() const;

    // FrameHost
    void showOverview(int screenNo) override;
    void showPage(int chamber) override;
    bool openModal(FrameForm form) override;
    bool startProgram(const QString& path) override;
    bool openFile(const QString& path) override;
    QString chooseFile(const QString& folder, const QString& filter) override;
    void closeFrame() override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void refresh();
    void refreshPanels();
    // The page of a chamber as the operator sees it: made at its first showing.
    ChamberPageWidget* pageWidget(int chamber);
    void openPageForm(PageForm form);

    QtOperator op_;
    MainFrame* frame_;
    QMdiArea* mdi_;
    QToolBar* toolbar_;
    std::array<QAction*, MainFrame::kToolButtons> actions_{};
    std::array<QLabel*, 3> panels_{};
    QLabel* problems_ = nullptr;
    QMdiSubWindow* overview_ = nullptr;
    OverviewWidget* overviewWidget_ = nullptr;
    QMdiSubWindow* page_ = nullptr;
    ChamberPageWidget* pageWidget_ = nullptr;
    std::function<void(const QString&)> previousBox_;
};

}  // namespace qel
