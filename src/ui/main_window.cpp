#include "main_window.h"

#include "about_dialog.h"
#include "captions.h"
#include "chamber_page_widget.h"
#include "config_report.h"
#include "display_dialog.h"
#include "graph_set_dialog.h"
#include "language.h"
#include "link.h"
#include "overview_widget.h"
#include "page_layout.h"
#include "state.h"
#include "station_hooks.h"
#include "vbtext.h"

#include <QApplication>
#include <algorithm>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QFile>
#include <QFileDialog>
#include <QJsonArray>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QProcess>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QUrl>

namespace qel {

namespace {

const QStyle::StandardPixmap kIcons[MainFrame::kToolButtons] = {
    QStyle::SP_FileDialogListView,
    QStyle::SP_FileDialogDetailedView,
    QStyle::SP_FileDialogContentsView,
    QStyle::SP_DriveHDIcon,
    QStyle::SP_DriveNetIcon,
    QStyle::SP_BrowserReload,
    QStyle::SP_FileDialogInfoView,
    QStyle::SP_DesktopIcon,
    QStyle::SP_DirOpenIcon,
    QStyle::SP_MessageBoxInformation,
    QStyle::SP_DialogCloseButton,
};

}  // namespace

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent), op_(this) {
    setObjectName(QStringLiteral("MDIfrmMenu"));
    frame_ = new MainFrame(op_, *this, this);
    mdi_ = new QMdiArea(this);
    setCentralWidget(mdi_);

    toolbar_ = addToolBar(QStringLiteral("Toolbar2"));
    toolbar_->setObjectName(QStringLiteral("Toolbar2"));
    toolbar_->setMovable(false);
    toolbar_->setIconSize(QSize(32, 32));
    for (int i = 1; i <= MainFrame::kToolButtons; ++i) {
        QAction* a = toolbar_->addAction(style()->standardIcon(kIcons[i - 1]), QString());
        a->setObjectName(QStringLiteral("button%1").arg(i));
        connect(a, &QAction::triggered, this, [this, i] { frame_->toolbarClick(i); });
        actions_[i - 1] = a;
    }

    for (int p = 0; p < 3; ++p) {
        panels_[p] = new QLabel(this);
        panels_[p]->setObjectName(QStringLiteral("panel%1").arg(p + 1));
        panels_[p]->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        statusBar()->addWidget(panels_[p], p == 0 ? 4 : 1);
    }
    // Settings problems stand beside the three panels, which carry state.
    problems_ = new QLabel(this);
    problems_->setObjectName(QStringLiteral("settingsProblems"));
    problems_->setStyleSheet(QStringLiteral("QLabel { color: white; background: #b00000; padding: 0 6px; }"));
    problems_->hide();
    statusBar()->addPermanentWidget(problems_);
    // The serial layer's own box ("...Serial port error") shows over the frame.
    previousBox_ = ShowMessageBox;
    ShowMessageBox = [this](const QString& text) { op_.message(QCoreApplication::applicationName(), text); };
    connect(frame_, &MainFrame::tickDone, this, &MainWindow::refresh);
    connect(frame_, &MainFrame::stateChanged, this, &MainWindow::refresh);
    connect(frame_, &MainFrame::loaded, this, [this] { showProblems(ConfigProblems()); });
    resize(1100, 700);
}

MainWindow::~MainWindow() { ShowMessageBox = previousBox_; }

void MainWindow::caption() {
    const QString title = Lang(QString::fromLatin1(captions::kMainSection), captions::kMainTitle);
    setWindowTitle(title.isEmpty() ? QStringLiteral("QEL Station") : title);
    for (int i = 1; i <= MainFrame::kToolButtons; ++i) {
        const QString tip = MainFrame::toolTip(i);
        actions_[i - 1]->setToolTip(tip);
        actions_[i - 1]->setText(tip);
    }
}

void MainWindow::showProblems(const QStringList& problems) {
    problems_->setVisible(!problems.isEmpty());
    if (problems.isEmpty()) return;
    problems_->setText(problems.size() == 1
                           ? problems.first()
                           : problems.first() + QStringLiteral(" (and %1 more)").arg(problems.size() - 1));
    problems_->setToolTip(problems.join(u'\n'));
}

QList<QJsonObject> MainWindow::shownRows() const {
    QList<QJsonObject> rows;
    auto row = [&](int chamber, const QStringList& texts) {
        QJsonObject o;
        o[QStringLiteral("Chamber")] = chamber;
        o[QStringLiteral("Shown")] = QJsonArray::fromStringList(texts);
        rows.append(o);
    };
    QMdiSubWindow* active = mdi_->activeSubWindow();
    if (pageWidget_ && active == page_) {
        for (const QStringList& texts : pageWidget_->shownTexts()) row(pageWidget_->chamber(), texts);
    } else if (overviewWidget_) {
        for (int c = 1; c <= std::min<int>(MaxChamberNo, kMaxChambers); ++c) row(c, overviewWidget_->shownTexts(c));
    }
    return rows;
}

void MainWindow::refreshPanels() {
    panels_[0]->setText(StatusPanel1);
    panels_[1]->setText(StatusPanel2);
    panels_[2]->setText(StatusPanel3);
    for (int i = 1; i <= MainFrame::kToolButtons; ++i) {
        actions_[i - 1]->setEnabled(frame_->button(i).enabled);
        actions_[i - 1]->setVisible(frame_->button(i).visible);
    }
}

// Only the screen on display is repainted; the others follow the records
// in their controls and catch up when shown.
void MainWindow::refresh() {
    refreshPanels();
    QMdiSubWindow* active = mdi_->activeSubWindow();
    if (overviewWidget_ && active == overview_) overviewWidget_->refresh();
    if (pageWidget_ && active == page_) pageWidget_->refresh();
}

void MainWindow::showOverview(int screenNo) {
    OverviewScreen& screen = frame_->screens().overview(screenNo);
    if (overviewWidget_ && &overviewWidget_->screen() != &screen) {
        mdi_->removeSubWindow(overview_);
        overview_->deleteLater();
        overview_ = nullptr;
        overviewWidget_ = nullptr;
    }
    if (!overviewWidget_) {
        overviewWidget_ = new OverviewWidget(screen);
        overview_ = mdi_->addSubWindow(overviewWidget_);
        overview_->setObjectName(QStringLiteral("frmMain%1").arg(screenNo));
        overview_->setWindowTitle(MainFrame::toolTip(1));
        connect(overviewWidget_, &OverviewWidget::chamberSelected, this, &MainWindow::refreshPanels);
        connect(overviewWidget_, &OverviewWidget::pageRequested, this, [this](int c) {
            StatusPanel2 = QString::number(c);
            frame_->toolbarClick(2);
        });
    }
    screen.Form_GotFocus();
    overview_->showMaximized();
    mdi_->setActiveSubWindow(overview_);
    refresh();
}

ChamberPageWidget* MainWindow::pageWidget(int chamber) {
    ChamberPage* page = frame_->screens().page(chamber);
    if (!page) return nullptr;
    if (pageWidget_ && pageWidget_->chamber() != chamber) {
        mdi_->removeSubWindow(page_);
        page_->deleteLater();
        page_ = nullptr;
        pageWidget_ = nullptr;
    }
    if (!pageWidget_) {
        pageWidget_ = new ChamberPageWidget(*page);
        page_ = mdi_->addSubWindow(pageWidget_);
        page_->setObjectName(QStringLiteral("frmQEL2000_%1").arg(chamber));
        page_->setWindowTitle(QStringLiteral("[%1] %2").arg(chamber).arg(ChamberName[chamber - 1]));
        page->openForm = [this](PageForm form, const QString&) { openPageForm(form); };
    }
    return pageWidget_;
}

void MainWindow::showPage(int chamber) {
    ChamberPageWidget* widget = pageWidget(chamber);
    StatusPanel2 = QString::number(chamber);
    if (!widget) {
        refresh();
        return;
    }
    // The channel frame on display is the one the keys go to (panel 3);
    // the view of all channels has no keys of its own.
    ChamberPage& page = widget->page();
    const int c = chamber - 1;
    if (page::LayoutOf(ChamberModel[c]) == page::Layout::Family && ChannelCountOf(ChamberModel[c]) > 1 &&
        !page.controls().get(QStringLiteral("Full_Channel")).visible)
        page.ShowChannelFrame(std::clamp(static_cast<int>(Val(StatusPanel3)), 1, 3));
    page_->showMaximized();
    mdi_->setActiveSubWindow(page_);
    refresh();
}

// The page's modal forms: the graph settings of the chamber on display; the
// others come with later versions, and until then the poll the page stopped
// for them starts again at once.
void MainWindow::openPageForm(PageForm form) {
    if (form == PageForm::GraphSet) {
        GraphSetDialog dialog(0, [this] {
            ApplyGraphSettings(frame_->screens());
            refresh();
        }, this);
        dialog.form().setAfterTick([this] { refresh(); });
        dialog.exec();  // its close starts ReadComm again
        return;
    }
    QMessageBox::information(this, QStringLiteral("QEL Station"),
                             QStringLiteral("This screen is not part of this version of the station yet."));
    EnableReadComm(true);
}

bool MainWindow::openModal(FrameForm form) {
    if (form == FrameForm::About) {
        AboutDialog about(this);
        about.exec();
        return true;
    }
    if (form == FrameForm::Display) {
        // A language switch re-captions the frame and the screens behind it.
        DisplayDialog dialog([this] {
            caption();
            RecaptionScreens(frame_->screens());
            if (overview_) overview_->setWindowTitle(MainFrame::toolTip(1));
            refresh();
        }, this);
        dialog.form().setAfterTick([this] { refresh(); });
        dialog.exec();  // its close starts ReadComm again
        return true;
    }
    QMessageBox::information(this, QStringLiteral("QEL Station"),
                             QStringLiteral("This screen is not part of this version of the station yet."));
    return false;
}

bool MainWindow::startProgram(const QString& path) {
    if (QFile::exists(path)) return QProcess::startDetached(path, {});
    return QProcess::startDetached(QStringLiteral("qelview"), {});
}

bool MainWindow::openFile(const QString& path) { return QDesktopServices::openUrl(QUrl::fromLocalFile(path)); }

QString MainWindow::chooseFile(const QString& folder, const QString&) {
    return QFileDialog::getOpenFileName(this, QString(), folder, QStringLiteral("All Files (*);;Data Files (*.log)"));
}

void MainWindow::closeFrame() { close(); }

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!frame_->queryUnload(true)) {
        event->ignore();  // Cancel: the station goes on; the log line stays
        return;
    }
    event->accept();
    QApplication::exit(0);  // at once, with no further writing
}

}  // namespace qel
