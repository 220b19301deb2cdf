#include "line_view.h"

#include "remote_keys.h"
#include "state.h"
#include "value_text.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace qel {

namespace {

void SetCell(QTableWidget* t, int row, int col, const QString& text, bool lost) {
    QTableWidgetItem* item = t->item(row, col);
    if (!item) {
        item = new QTableWidgetItem;
        item->setFlags(item->flags() & ~Qt::ItemIsEditable);
        t->setItem(row, col, item);
    }
    item->setText(text);
    item->setBackground(lost ? QBrush(Qt::red) : QBrush());
    item->setForeground(lost ? QBrush(Qt::white) : QBrush());
}

int Channels(int c) { return std::max<int>(1, Chamber[c].ChannelCount); }

QStringList RowTexts(const QTableWidget* t, int row) {
    QStringList out;
    for (int col = 0; col < t->columnCount(); ++col) out << (t->item(row, col) ? t->item(row, col)->text() : QString());
    return out;
}

}  // namespace

LineView::LineView(QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    table_ = new QTableWidget(this);
    table_->setColumnCount(9);
    table_->setHorizontalHeaderLabels({QStringLiteral("No"), QStringLiteral("Name"), QStringLiteral("Model"),
                                       QStringLiteral("State"), QStringLiteral("CH1 PV"), QStringLiteral("CH1 SP"),
                                       QStringLiteral("CH2 PV"), QStringLiteral("CH2 SP"), QStringLiteral("Failures")});
    table_->verticalHeader()->hide();
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    layout->addWidget(table_);
    connect(table_, &QTableWidget::cellDoubleClicked, this, [this](int row, int) { emit chamberChosen(row + 1); });
    connect(table_, &QTableWidget::cellClicked, this, [](int row, int) { StatusPanel2 = QString::number(row + 1); });
    refresh();
}

void LineView::refresh() {
    const int n = std::clamp<int>(MaxChamberNo, 0, kMaxChambers);
    if (table_->rowCount() != n) table_->setRowCount(n);
    for (int c = 0; c < n; ++c) {
        const bool lost = CommError[c] != 0;
        SetCell(table_, c, 0, QString::number(c + 1), false);
        SetCell(table_, c, 1, ChamberName[c], false);
        SetCell(table_, c, 2, ChamberModel[c], false);
        SetCell(table_, c, 3, StateWord(c + 1, 1), lost);
        SetCell(table_, c, 4, PVText(c + 1, 1), lost);
        SetCell(table_, c, 5, ValueText(c + 1, 1, Chamber[c].SP[0]), lost);
        const bool two = Channels(c) >= 2;
        SetCell(table_, c, 6, two ? PVText(c + 1, 2) : QString(), lost && two);
        SetCell(table_, c, 7, two ? ValueText(c + 1, 2, Chamber[c].SP[1]) : QString(), lost && two);
        SetCell(table_, c, 8, QString::number(FailCount[c]), false);
    }
}

int LineView::rows() const { return table_->rowCount(); }

QStringList LineView::shownTexts(int row) const { return RowTexts(table_, row); }

ChamberView::ChamberView(int chamber, QWidget* parent) : QWidget(parent), chamber_(chamber) {
    auto* layout = new QVBoxLayout(this);
    title_ = new QLabel(this);
    layout->addWidget(title_);
    table_ = new QTableWidget(this);
    table_->setColumnCount(6);
    table_->setHorizontalHeaderLabels({QStringLiteral("Channel"), QStringLiteral("State"), QStringLiteral("PV"),
                                       QStringLiteral("SP"), QStringLiteral("MV %"), QStringLiteral("Run time")});
    table_->verticalHeader()->hide();
    table_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    layout->addWidget(table_);

    auto* keys = new QHBoxLayout;
    channel_ = new QComboBox(this);
    channel_->setObjectName(QStringLiteral("channel"));
    for (int k = 1; k <= Channels(chamber - 1); ++k) channel_->addItem(QStringLiteral("CH%1").arg(k));
    connect(channel_, &QComboBox::activated, this, [](int i) { StatusPanel3 = QString::number(i + 1); });
    keys->addWidget(channel_);
    const struct {
        const char* name;
        const char* text;
        void (*send)(int16_t);
    } buttons[] = {
        {"RUN", "RUN", SetStartPT},
        {"STOP", "STOP", SetStopMode},
        {"HOLD", "HOLD", [](int16_t c) { SetHoldMode(c, 1); }},
        {"STEP", "STEP", SetAdvMode},
        {"USER", "USER KEY", SetUserKey},
    };
    for (const auto& b : buttons) {
        auto* button = new QPushButton(QString::fromLatin1(b.text), this);
        button->setObjectName(QString::fromLatin1(b.name));
        auto send = b.send;
        connect(button, &QPushButton::clicked, this, [this, send] { send(static_cast<int16_t>(chamber_)); });
        keys->addWidget(button);
    }
    layout->addLayout(keys);
    refresh();
}

QList<QStringList> ChamberView::shownTexts() const {
    QList<QStringList> out;
    for (int r = 0; r < table_->rowCount(); ++r) out << RowTexts(table_, r);
    return out;
}

void ChamberView::refresh() {
    const int c = chamber_ - 1;
    if (c < 0 || c >= kMaxChambers) return;
    const int shownChannel = static_cast<int>(StatusPanel3.toInt()) - 1;
    if (shownChannel >= 0 && shownChannel < channel_->count() && channel_->currentIndex() != shownChannel)
        channel_->setCurrentIndex(shownChannel);
    title_->setText(QStringLiteral("<b>%1</b> &nbsp; %2 &nbsp; address %3")
                        .arg(ChamberName[c], ChamberModel[c], ChamberAddress[c]));
    const int n = Channels(c);
    table_->setRowCount(n);
    for (int k = 0; k < n; ++k) {
        const bool lost = CommError[c] != 0;
        const int32_t t = Chamber[c].RunTime[k];
        SetCell(table_, k, 0, QStringLiteral("CH%1").arg(k + 1), false);
        SetCell(table_, k, 1, StateWord(chamber_, k + 1), lost);
        SetCell(table_, k, 2, PVText(chamber_, k + 1), lost);
        SetCell(table_, k, 3, ValueText(chamber_, k + 1, Chamber[c].SP[k]), lost);
        SetCell(table_, k, 4, lost ? QStringLiteral("-.-") : QString::number(Chamber[c].MV[k], 'f', 1), lost);
        SetCell(table_, k, 5,
                QStringLiteral("%1:%2:%3")
                    .arg(t / 3600)
                    .arg(t / 60 % 60, 2, 10, QChar(u'0'))
                    .arg(t % 60, 2, 10, QChar(u'0')),
                false);
    }
}

}  // namespace qel
