#include "chamber_page_widget.h"

#include "trend_graph_widget.h"

#include "page_parts.h"
#include "settings_state.h"

#include <QApplication>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPointer>
#include <QResizeEvent>
#include <QScrollArea>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

namespace qel {

namespace {

// The page size the fonts below are drawn for: a maximized page on a
// 1920x1080 screen. Other sizes scale them, within half and twice.
constexpr double kDesignWidth = 1880;
constexpr double kDesignHeight = 940;

// A dark panel look, so that the PV colours the logic gives (white, yellow,
// red, blue, cyan) and the red and black lamps stand out. Colours that the
// logic sets on a control come on top of these (the control's own sheet).
constexpr const char* kPageSheet = R"(
*[qelRole="page"] { background-color: #161b22; }
QFrame[qelRole="layout"] { background-color: #1f2733; border: 1px solid #2f3b4c; border-radius: 6px; }
QFrame[qelRole="group"] { background-color: #19202a; border: 1px solid #2f3b4c; border-radius: 4px; }
QLabel[qelRole="banner"] { color: #ffffff; background-color: #244a86; border-radius: 4px; padding: 0px 10px; }
QLabel[qelRole="value"] { color: #f0f4fa; background-color: #05080c; border: 1px solid #2f3b4c;
                          border-radius: 3px; padding: 0px 8px; }
QLabel[qelRole="caption"] { color: #9fb0c8; background: transparent; border: none; }
QLabel[qelRole="unit"] { color: #d8e2f0; background: transparent; border: none; padding: 0px 4px; }
QLabel[qelRole="lamp"] { color: #e6e6e6; background-color: #000000; border: 1px solid #3a4a5e;
                         border-radius: 3px; padding: 1px 3px; }
QLabel[qelRole="legend"] { color: #ffffff; background-color: #05080c; border: 1px solid #2f3b4c; padding: 0px 4px; }
QLabel[qelRole="di"] { color: #e6edf5; background-color: #0b0f14; border: 1px solid #2f3b4c; padding: 0px 6px; }
QPushButton[qelKey] { color: #f0f4fa; background-color: #34404f; border: 1px solid #52627a;
                      border-radius: 5px; padding: 3px 10px; }
QPushButton[qelKey]:hover { background-color: #3e4c5e; }
QPushButton[qelKey]:pressed { background-color: #26303c; }
QPushButton[qelKey="run"]:checked { background-color: #1e7d32; border-color: #4caf50; }
QPushButton[qelKey="run"]:!checked { background-color: #b3261e; border-color: #ef5350; }
QPushButton[qelKey="hold"]:checked { background-color: #c77800; border-color: #ffb300; }
QPushButton[qelKey="user"]:!checked { background-color: #1565c0; border-color: #64b5f6; }
QPushButton[qelKey="color"] { padding: 0px; }
QTableWidget#Status_History { background-color: #0b0f14; color: #e6edf5; gridline-color: #2f3b4c;
                              border: 1px solid #2f3b4c; }
QScrollArea[qelRole="lamps"] { background: transparent; border: none; }
)";

// The three rooms of the QEL2300 as they stand in the chamber, top to
// bottom: high temperature, exposure, low temperature. The room frame's
// index is not its channel: the exposure room (Frame36(3)) is channel 2.
constexpr struct {
    int frame;
    int channel;
} kRooms[] = {{1, 1}, {3, 2}, {2, 3}};

}  // namespace

ChamberPageWidget::ChamberPageWidget(ChamberPage& page, QWidget* parent) : QWidget(parent), page_(page) {
    setObjectName(QStringLiteral("frmQEL2000_%1").arg(page.chamber()));
    setProperty("qelRole", QStringLiteral("page"));
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(QString::fromLatin1(kPageSheet));

    auto* top = new QHBoxLayout(this);
    top->setContentsMargins(6, 6, 6, 6);
    top->setSpacing(6);

    // All layouts in one cell, in rising order: the later lies on top.
    auto* models = new QWidget(this);
    auto* stack = new QGridLayout(models);
    stack->setContentsMargins(0, 0, 0, 0);
    QFrame* frames[] = {
        buildChannelFrame(models, 1, QStringLiteral("QEL2000"), QStringLiteral("Status_Lamp2000")),
        buildChannelFrame(models, 2, QStringLiteral("QEL2100"), QStringLiteral("Status_Lamp2100")),
        buildChannelFrame(models, 3, QStringLiteral("QEL2400"), QStringLiteral("Status_Lamp2400")),
        buildQel2200(models),
        buildQel2300(models),
        buildFullChannel(models),
        buildDiNames(models),
    };
    for (QFrame* f : frames) {
        stack->addWidget(f, 0, 0);
        f->raise();
        // Until the logic lays the page out, the one-channel layout shows.
        if (f->objectName() != QLatin1String("QEL2000")) f->hide();
    }
    top->addWidget(models, 11);
    top->addWidget(buildSide(this), 9);

    collect();
    sound_ = new QTimer(this);
    sound_->setInterval(1000);
    connect(sound_, &QTimer::timeout, this, &ChamberPageWidget::beep);
    sound_->start();
    applyScale();
    refresh();
}

// ---- building ----

PageLabel* ChamberPageWidget::label(QWidget* parent, const QString& name, Role role, bool clickable) {
    const bool fit = role == Role::Banner || role == Role::PV || role == Role::Big || role == Role::Unit;
    auto* l = new PageLabel(name, fit ? PageLabel::Mode::Fit : PageLabel::Mode::Elide, parent);
    const char* look = role == Role::Banner    ? "banner"
                       : role == Role::Caption ? "caption"
                       : role == Role::Unit    ? "unit"
                                               : "value";
    l->setProperty("qelRole", QString::fromLatin1(look));
    if (role == Role::PV || role == Role::Big) {
        l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        l->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    } else {
        l->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        if (role != Role::Caption) l->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    }
    if (clickable) {
        l->setCursor(Qt::PointingHandCursor);
        l->onClick = [this, name] { keyClicked(name); };
    }
    fonts_.emplace_back(l, role);
    return l;
}

KeyButton* ChamberPageWidget::key(QWidget* parent, const QString& name, Role role, const char* look) {
    auto* k = new KeyButton(name, parent);
    const QString kind = QString::fromLatin1(look);
    k->setProperty("qelKey", kind);
    // Two-state keys: checked is the logic's value, never Qt's own toggle.
    k->setCheckable(kind == QLatin1String("run") || kind == QLatin1String("hold") || kind == QLatin1String("user"));
    k->setSizePolicy(kind == QLatin1String("color") ? QSizePolicy::Maximum : QSizePolicy::Expanding,
                     QSizePolicy::Preferred);
    connect(k, &QPushButton::clicked, this, [this, name] { keyClicked(name); });
    fonts_.emplace_back(k, role);
    return k;
}

QFrame* ChamberPageWidget::frame(QWidget* parent, const QString& name, const char* look) {
    auto* f = new QFrame(parent);
    f->setObjectName(name);
    f->setProperty("qelRole", QString::fromLatin1(look));
    return f;
}

QWidget* ChamberPageWidget::lampArea(QWidget* parent, const QString& prefix) {
    auto* scroll = new QScrollArea(parent);
    scroll->setProperty("qelRole", QStringLiteral("lamps"));
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    auto* field = new LampField(prefix);
    scroll->setWidget(field);
    scroll->viewport()->setAutoFillBackground(false);
    field->setAutoFillBackground(false);
    for (QWidget* lamp : field->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        fonts_.emplace_back(lamp, Role::Lamp);
    return scroll;
}

// The pattern and time fields of a layout, in two columns of caption and
// value. `index` is "(ch)" for the per-channel frames, "" otherwise.
void ChamberPageWidget::infoGrid(QGridLayout* grid, int row, const QString& model, const QString& index,
                                 bool withSegRpt) {
    struct Pair {
        const char* caption;
        const char* value;
    };
    QList<Pair> left = {{"lbl_PTNo", "PTNo"}, {"lbl_PTRPT", "PT_RPT"}};
    if (withSegRpt) left.append(Pair{"lbl_SegRPT", "SEG_RPT"});
    left.append(Pair{"lbl_PIDNo", "PID_No"});
    const QList<Pair> right = {{"lbl_RunTime", "Run_Time"},
                               {"lbl_SegTime", "SEG_Time"},
                               {"lbl_StartTime", "Start_Time"},
                               {"lbl_EndTime", "End_Time"}};
    QWidget* parent = grid->parentWidget();
    auto add = [&](const QList<Pair>& pairs, int column) {
        for (int i = 0; i < pairs.size(); ++i) {
            const QString base = QString::fromLatin1(pairs[i].value);
            const bool clickable =
                base == QLatin1String("PTNo") || (base == QLatin1String("PT_RPT") && model == QLatin1String("2200"));
            grid->addWidget(label(parent, QString::fromLatin1(pairs[i].caption) + model + index, Role::Caption),
                            row + i, column);
            grid->addWidget(label(parent, base + model + index, Role::Value, clickable), row + i, column + 1);
        }
    };
    add(left, 0);
    add(right, 2);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
}

QWidget* ChamberPageWidget::keyRow(QWidget* parent, const QString& model, const QString& index) {
    auto* row = new QWidget(parent);
    auto* h = new QHBoxLayout(row);
    h->setContentsMargins(0, 0, 0, 0);
    const std::pair<const char*, const char*> keys[] = {{"RUN_Stop_Key", "run"}, {"HOLD_Key", "hold"},
                                                        {"STEP_Key", "key"},     {"USER_Key", "user"},
                                                        {"PT_Graph_Key", "key"}, {"Record_Key", "key"}};
    for (const auto& [name, look] : keys)
        h->addWidget(key(row, QString::fromLatin1(name) + model + index, Role::Key, look));
    return row;
}

QFrame* ChamberPageWidget::buildChannelFrame(QWidget* parent, int ch, const QString& frameName, const QString& lamps) {
    QFrame* f = frame(parent, frameName);
    auto n = [ch](const char* base) { return Indexed(QString::fromLatin1(base) + QStringLiteral("2000"), ch); };
    auto* v = new QVBoxLayout(f);
    v->addWidget(label(f, n("lbl_Chamber_Name"), Role::Banner));

    auto* values = new QGridLayout;
    values->addWidget(label(f, n("lbl_PV"), Role::Caption), 0, 0);
    values->addWidget(label(f, n("PV"), Role::PV), 0, 1);
    values->addWidget(label(f, n("UNIT"), Role::Unit, true), 0, 2);
    values->addWidget(label(f, n("lbl_SP"), Role::Caption), 1, 0);
    values->addWidget(label(f, n("SP"), Role::Big, true), 1, 1);
    values->addWidget(label(f, n("lbl_Operation"), Role::Caption), 1, 2);
    values->addWidget(label(f, n("lbl_MV"), Role::Caption), 2, 0);
    values->addWidget(label(f, n("MV"), Role::Big), 2, 1);
    values->addWidget(label(f, n("Operation"), Role::Value, true), 2, 2);
    values->setColumnStretch(1, 3);
    values->setColumnStretch(2, 1);
    values->setRowStretch(0, 2);
    values->setRowStretch(1, 1);
    values->setRowStretch(2, 1);
    v->addLayout(values, 3);

    auto* info = new QGridLayout;
    v->addLayout(info);
    const QString index = QStringLiteral("(%1)").arg(ch);
    infoGrid(info, 0, QStringLiteral("2000"), index, true);
    info->addWidget(label(f, n("lblFileName"), Role::Value), 4, 0, 1, 4);

    v->addWidget(keyRow(f, QStringLiteral("2000"), index));
    // Change_ChK(ch) stands in the frame of channel ch and shows channel K.
    auto* switches = new QHBoxLayout;
    for (int to = 1; to <= 3; ++to) {
        KeyButton* k = key(f, Indexed(QStringLiteral("Change_Ch%1").arg(to), ch), Role::Key);
        k->setText(QStringLiteral("CH%1").arg(to));
        switches->addWidget(k);
    }
    switches->addStretch(1);
    switches->addWidget(key(f, Indexed(QStringLiteral("Status_Lamp_ONOFF"), ch), Role::Key));
    v->addLayout(switches);
    v->addWidget(lampArea(f, lamps), 4);
    return f;
}

// PV with its unit, SP and MV of one channel, from `row` of `grid` down.
void ChamberPageWidget::valueGrid(QWidget* g, QGridLayout* grid, const QString& model, int ch, int row,
                                  bool spClickable) {
    auto n = [&](const char* base) { return Indexed(QString::fromLatin1(base) + model, ch); };
    grid->addWidget(label(g, n("lbl_PV"), Role::Caption), row, 0);
    grid->addWidget(label(g, n("PV"), Role::PV), row, 1);
    grid->addWidget(label(g, n("UNIT"), Role::Unit, true), row, 2);
    grid->addWidget(label(g, n("lbl_SP"), Role::Caption), row + 1, 0);
    grid->addWidget(label(g, n("SP"), Role::Big, spClickable), row + 1, 1, 1, 2);
    grid->addWidget(label(g, n("lbl_MV"), Role::Caption), row + 2, 0);
    grid->addWidget(label(g, n("MV"), Role::Big), row + 2, 1, 1, 2);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(row, 2);
    grid->setRowStretch(row + 1, 1);
    grid->setRowStretch(row + 2, 1);
}

// The keys of a one-frame layout and its lamp field. Its lamp selection key
// is the same control as the one of channel 1.
void ChamberPageWidget::keysAndLamps(QFrame* f, QVBoxLayout* v, const QString& model) {
    v->addWidget(keyRow(f, model, QString()));
    auto* more = new QHBoxLayout;
    more->addStretch(1);
    more->addWidget(key(f, QStringLiteral("Status_Lamp_ONOFF(1)"), Role::Key));
    v->addLayout(more);
    v->addWidget(lampArea(f, QStringLiteral("Status_Lamp") + model), 4);
}

QFrame* ChamberPageWidget::buildQel2200(QWidget* parent) {
    QFrame* f = frame(parent, QStringLiteral("QEL2200"));
    auto* v = new QVBoxLayout(f);
    v->addWidget(label(f, QStringLiteral("lbl_Chamber_Name2200"), Role::Banner));

    auto* channels = new QHBoxLayout;
    for (int ch = 1; ch <= 2; ++ch) {
        QFrame* g = frame(f, QString(), "group");
        valueGrid(g, new QGridLayout(g), QStringLiteral("2200"), ch, 0, true);
        channels->addWidget(g);
    }
    v->addLayout(channels, 3);

    auto* info = new QGridLayout;
    v->addLayout(info);
    infoGrid(info, 0, QStringLiteral("2200"), QString(), true);
    info->addWidget(label(f, QStringLiteral("lbl_Operation2200"), Role::Caption), 4, 0);
    info->addWidget(label(f, QStringLiteral("Operation2200"), Role::Value, true), 4, 1);
    info->addWidget(label(f, QStringLiteral("lblFileName2200"), Role::Value), 4, 2, 1, 2);

    keysAndLamps(f, v, QStringLiteral("2200"));
    return f;
}

QFrame* ChamberPageWidget::buildQel2300(QWidget* parent) {
    QFrame* f = frame(parent, QStringLiteral("QEL2300"));
    auto* v = new QVBoxLayout(f);
    v->addWidget(label(f, QStringLiteral("lbl_Chamber_Name2300"), Role::Banner));

    auto* rooms = new QHBoxLayout;
    for (const auto& room : kRooms) {
        QFrame* g = frame(f, Indexed(QStringLiteral("Frame36"), room.frame), "group");
        const int ch = room.channel;
        auto* grid = new QGridLayout(g);
        grid->addWidget(label(g, Indexed(QStringLiteral("lbl_Room2300"), room.frame), Role::Value), 0, 0, 1, 3);
        valueGrid(g, grid, QStringLiteral("2300"), ch, 1, false);
        rooms->addWidget(g);
    }
    v->addLayout(rooms, 3);

    auto* info = new QGridLayout;
    v->addLayout(info);
    infoGrid(info, 0, QStringLiteral("2300"), QString(), false);
    info->addWidget(label(f, QStringLiteral("lblFileName2300"), Role::Value), 3, 0, 1, 2);

    keysAndLamps(f, v, QStringLiteral("2300"));
    return f;
}

// The three channels at once, large. The _CH2 set of the logic has no
// widgets: this one set serves chambers of two channels as well.
QFrame* ChamberPageWidget::buildFullChannel(QWidget* parent) {
    QFrame* f = frame(parent, QStringLiteral("Full_Channel"));
    auto* v = new QVBoxLayout(f);
    for (int ch = 1; ch <= 3; ++ch) {
        QFrame* row = frame(f, QString(), "group");
        auto n = [ch](const char* base) { return Indexed(QString::fromLatin1(base), ch); };
        auto* grid = new QGridLayout(row);
        grid->addWidget(label(row, n("Full_Chamber_Name"), Role::Banner), 0, 0, 1, 4);
        KeyButton* go = key(row, n("Full_Ch"), Role::Key);
        go->setText(QStringLiteral("CH%1").arg(ch));
        grid->addWidget(go, 0, 4);
        grid->addWidget(label(row, n("Full_PV"), Role::PV), 1, 0, 2, 1);
        grid->addWidget(label(row, n("Full_UNIT"), Role::Unit), 1, 1, 2, 1);
        grid->addWidget(label(row, n("Full_lbl_SP"), Role::Caption), 1, 2);
        grid->addWidget(label(row, n("Full_SP"), Role::Big), 1, 3, 1, 2);
        grid->addWidget(label(row, n("Full_lbl_MV"), Role::Caption), 2, 2);
        grid->addWidget(label(row, n("Full_MV"), Role::Big), 2, 3, 1, 2);
        grid->setColumnStretch(0, 3);
        grid->setColumnStretch(3, 2);
        grid->setRowStretch(1, 1);
        grid->setRowStretch(2, 1);
        v->addWidget(row, 1);
        fullRows_.emplace_back(ch, row);
    }
    return f;
}

QFrame* ChamberPageWidget::buildDiNames(QWidget* parent) {
    QFrame* f = frame(parent, QStringLiteral("Frame10"));
    auto* grid = new QGridLayout(f);
    QFrame* first = frame(f, QString(), "group");
    QFrame* second = frame(f, QStringLiteral("Frame11"), "group");
    for (QFrame* board : {first, second}) {
        auto* column = new QVBoxLayout(board);
        const int from = board == first ? 1 : 17;
        for (int k = from; k < from + 16; ++k) {
            PageLabel* l = label(board, Indexed(QStringLiteral("txtDIName"), k), Role::Value);
            l->setProperty("qelRole", QStringLiteral("di"));
            column->addWidget(l);
        }
    }
    grid->addWidget(first, 0, 0);
    grid->addWidget(second, 0, 1);
    auto* close = new QHBoxLayout;
    close->addStretch(1);
    close->addWidget(key(f, QStringLiteral("Command6"), Role::Key));
    grid->addLayout(close, 1, 0, 1, 2);
    grid->setRowStretch(0, 1);
    return f;
}

QWidget* ChamberPageWidget::buildSide(QWidget* parent) {
    auto* side = new QWidget(parent);
    auto* v = new QVBoxLayout(side);
    v->setContentsMargins(0, 0, 0, 0);

    // The trend: its span, zoom keys and the graph, then the legend.
    QFrame* graph = frame(side, QStringLiteral("CWGraph1"), "group");
    graph->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    graph->setMinimumHeight(60);
    auto* g = new QVBoxLayout(graph);
    g->setContentsMargins(2, 2, 2, 2);
    auto* spanRow = new QHBoxLayout;
    auto* span = new QComboBox(graph);
    span->setObjectName(QStringLiteral("Combo1"));
    for (int i = 0; i < TrendView::kSpans; ++i) {
        const int m = SpanMinutes(i);
        span->addItem(m < 60 ? QStringLiteral("%1 min").arg(m) : QStringLiteral("%1 h").arg(m / 60));
    }
    span->setCurrentIndex(page_.trend().span());
    connect(span, &QComboBox::activated, this, [this](int index) {
        page_.trend().setSpan(index);
        refresh();
    });
    fonts_.emplace_back(span, Role::Small);
    spanRow->addWidget(span);
    spanRow->addWidget(key(graph, QStringLiteral("UpDown_Zoom"), Role::Small));
    spanRow->addWidget(key(graph, QStringLiteral("Zoom_Cancel"), Role::Small));
    spanRow->addStretch(1);
    g->addLayout(spanRow);
    graph_ = new TrendGraphWidget(page_.trend(), graph);
    g->addWidget(graph_, 1);
    v->addWidget(graph, 5);

    // Legend: one row per channel (plots PV, SP, MV), the second and third
    // channel in Frame2 and Frame3, which the layout hides with its model.
    auto* legendRow = new QHBoxLayout;
    auto* legend = new QVBoxLayout;
    for (int ch = 1; ch <= 3; ++ch) {
        QWidget* holder = ch == 1 ? new QWidget(side)
                                  : frame(side, ch == 2 ? QStringLiteral("Frame2") : QStringLiteral("Frame3"), "group");
        auto* h = new QHBoxLayout(holder);
        h->setContentsMargins(2, 2, 2, 2);
        for (int p = 1; p <= 3; ++p) {
            const int i = (ch - 1) * 3 + p;
            h->addWidget(key(holder, Indexed(QStringLiteral("ButtColor"), i), Role::Small, "color"));
            PageLabel* l = label(holder, Indexed(QStringLiteral("lblColor"), i), Role::Small, true);
            l->setProperty("qelRole", QStringLiteral("legend"));
            h->addWidget(l, 1);
        }
        legend->addWidget(holder);
    }
    legendRow->addLayout(legend, 4);
    QFrame* hc = frame(side, QStringLiteral("frmHC"), "group");
    auto* hcLayout = new QVBoxLayout(hc);
    hcLayout->setContentsMargins(4, 2, 4, 2);
    hcLayout->addWidget(label(hc, QStringLiteral("lbl_HCMV"), Role::Caption));
    hcLayout->addWidget(label(hc, Indexed(QStringLiteral("HCMV"), 1), Role::Value));
    hcLayout->addWidget(label(hc, Indexed(QStringLiteral("HCMV"), 2), Role::Value));
    legendRow->addWidget(hc, 1);
    v->addLayout(legendRow);

    history_ = new QTableWidget(1, 2, side);
    history_->setObjectName(QStringLiteral("Status_History"));
    history_->horizontalHeader()->hide();
    history_->verticalHeader()->hide();
    history_->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Fixed);
    history_->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    history_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    history_->setSelectionBehavior(QAbstractItemView::SelectRows);
    history_->setWordWrap(false);
    history_->setMinimumHeight(80);
    fonts_.emplace_back(history_, Role::Small);
    v->addWidget(history_, 3);

    auto* keys = new QHBoxLayout;
    keys->addStretch(1);
    keys->addWidget(key(side, QStringLiteral("Command7(1)"), Role::Key));
    keys->addWidget(key(side, QStringLiteral("Setting"), Role::Key));
    v->addLayout(keys);
    return side;
}

// ---- binding ----

void ChamberPageWidget::collect() {
    binding_.collect(this);
    twins_.clear();
    for (QWidget* w : findChildren<QWidget*>()) {
        const QString name = w->objectName();
        if (name.isEmpty() || name.startsWith(QLatin1String("qt_"))) continue;
        if (binding_.widget(name) != w) twins_.emplace_back(name, w);
    }
}

void ChamberPageWidget::applyControls() {
    const ControlSet& set = page_.controls();
    if (!binding_.apply(set)) return;
    for (const auto& [name, w] : twins_)
        if (set.has(name)) ApplyControl(w, set.get(name));
    // A channel of Full_Channel shows while the logic hides neither its PV
    // nor its key (a two-channel chamber has no third).
    for (const auto& [ch, row] : fullRows_) {
        const QWidget* pv = binding_.widget(Indexed(QStringLiteral("Full_PV"), ch));
        const QWidget* go = binding_.widget(Indexed(QStringLiteral("Full_Ch"), ch));
        const bool show = pv && !pv->isHidden() && go && !go->isHidden();
        if (row->isHidden() == show) row->setVisible(show);
    }
}

void ChamberPageWidget::refresh() {
    applyControls();
    appendHistory();
    if (graph_ && graph_->isVisible()) graph_->refresh();
}

void ChamberPageWidget::appendHistory() {
    const QList<HistoryRow>& rows = page_.history();
    if (rows.size() < historyShown_) {  // emptied: show it anew
        history_->setRowCount(0);
        historyShown_ = 0;
    }
    if (rows.size() == historyShown_ && history_->rowCount() == historyShown_ + 1) return;
    // Always one blank row below the last event.
    history_->setRowCount(static_cast<int>(rows.size() + 1));
    for (qsizetype i = historyShown_; i < rows.size(); ++i) {
        const int r = static_cast<int>(i);
        history_->setItem(r, 0, new QTableWidgetItem(rows[i].time));
        history_->setItem(r, 1, new QTableWidgetItem(rows[i].text));
    }
    historyShown_ = rows.size();
    history_->scrollToBottom();
}

void ChamberPageWidget::keyClicked(const QString& name) {
    // A click may open a dialog that outlives this page.
    QPointer<ChamberPageWidget> self(this);
    page_.click(name);
    if (self) refresh();
}

void ChamberPageWidget::beep() {
    if (DisplaySound == 1 && page_.controls().get(QStringLiteral("Timer1")).value) QApplication::beep();
}

// ---- look ----

void ChamberPageWidget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    applyScale();
}

void ChamberPageWidget::applyScale() {
    const double s = std::clamp(std::min(width() / kDesignWidth, height() / kDesignHeight), 0.5, 2.0);
    if (std::abs(s - scale_) < 0.01) return;
    scale_ = s;
    struct Size {
        int px;
        bool bold;
        int smallest;
    };
    auto sizeOf = [](Role role) -> Size {
        switch (role) {
            case Role::Banner:
                return {34, true, 12};
            case Role::PV:
                return {84, true, 24};
            case Role::Big:
                return {42, true, 16};
            case Role::Unit:
                return {26, false, 11};
            case Role::Value:
                return {20, false, 11};
            case Role::Caption:
                return {16, false, 10};
            case Role::Key:
                return {16, true, 11};
            case Role::Lamp:
                return {15, false, 11};
            case Role::Small:
                return {14, false, 10};
        }
        return {14, false, 10};
    };
    for (const auto& [w, role] : fonts_) {
        const Size size = sizeOf(role);
        QFont f = w->font();
        f.setPixelSize(std::max(size.smallest, static_cast<int>(std::lround(size.px * s))));
        f.setBold(size.bold);
        if (!(w->font() == f)) w->setFont(f);
    }
    const QFontMetrics fm(history_->font());
    history_->setColumnWidth(0, fm.horizontalAdvance(QStringLiteral("0000/00/00 00:00:00")) + 16);
    history_->verticalHeader()->setDefaultSectionSize(fm.height() + 6);
}

// ---- what shows ----

QString ChamberPageWidget::shown(const QString& name) const {
    const QWidget* w = binding_.widget(name);
    if (!w || !w->isVisibleTo(this)) return QString();
    if (const auto* l = qobject_cast<const QLabel*>(w)) return l->text();
    if (const auto* b = qobject_cast<const QAbstractButton*>(w)) return b->text();
    return QString();
}

QList<QStringList> ChamberPageWidget::shownTexts() const {
    QList<QStringList> out;
    auto up = [this](const char* name) {
        const QWidget* w = binding_.widget(QString::fromLatin1(name));
        return w && !w->isHidden();
    };
    auto row = [&](const QString& name, const QString& pv, const QString& sp, const QString& mv, const QString& unit) {
        out << QStringList{shown(name), shown(pv), shown(sp), shown(mv), shown(unit)};
    };
    auto model = [&](const QString& name, const QString& digits, int ch) {
        row(name, Indexed(QStringLiteral("PV") + digits, ch), Indexed(QStringLiteral("SP") + digits, ch),
            Indexed(QStringLiteral("MV") + digits, ch), Indexed(QStringLiteral("UNIT") + digits, ch));
    };
    if (up("Full_Channel")) {
        for (const auto& [ch, holder] : fullRows_) {
            if (holder->isHidden()) continue;
            row(Indexed(QStringLiteral("Full_Chamber_Name"), ch), Indexed(QStringLiteral("Full_PV"), ch),
                Indexed(QStringLiteral("Full_SP"), ch), Indexed(QStringLiteral("Full_MV"), ch),
                Indexed(QStringLiteral("Full_UNIT"), ch));
        }
        return out;
    }
    if (up("QEL2300")) {
        for (int ch = 1; ch <= 3; ++ch) model(QStringLiteral("lbl_Chamber_Name2300"), QStringLiteral("2300"), ch);
        return out;
    }
    if (up("QEL2200")) {
        for (int ch = 1; ch <= 2; ++ch) model(QStringLiteral("lbl_Chamber_Name2200"), QStringLiteral("2200"), ch);
        return out;
    }
    const std::pair<const char*, int> channelFrames[] = {{"QEL2400", 3}, {"QEL2100", 2}, {"QEL2000", 1}};
    for (const auto& [frameName, ch] : channelFrames) {
        if (!up(frameName)) continue;
        model(Indexed(QStringLiteral("lbl_Chamber_Name2000"), ch), QStringLiteral("2000"), ch);
        break;
    }
    return out;
}

}  // namespace qel
