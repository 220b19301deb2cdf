#include "graph_set_dialog.h"

#include "form_view.h"
#include "qt_operator.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace qel {

namespace {

template <typename W>
W* Named(const QString& name, QWidget* parent) {
    auto* w = new W(parent);
    w->setObjectName(name);
    return w;
}

// The form's boxes: its one message is the range warning, with the
// exclamation icon; colours come from the desktop's colour dialog.
class GraphSetOperator final : public Operator {
public:
    explicit GraphSetOperator(QWidget* parent) : parent_(parent), boxes_(parent) {}
    void message(const QString& title, const QString& text) override { QMessageBox::warning(parent_, title, text); }
    bool confirm(const QString& title, const QString& text) override { return boxes_.confirm(title, text); }
    QString input(const QString& title, const QString& prompt, const QString& initial) override {
        return boxes_.input(title, prompt, initial);
    }
    void progress(int, int) override {}
    bool chooseColor(int32_t& color) override { return boxes_.chooseColor(color); }

private:
    QWidget* parent_;
    QtOperator boxes_;
};

}  // namespace

GraphSetDialog::GraphSetDialog(int which, std::function<void()> applied, QWidget* parent)
    : QDialog(parent),
      op_(std::make_unique<GraphSetOperator>(this)),
      form_(std::make_unique<GraphSetForm>(*op_, which, std::move(applied))) {
    setObjectName(QStringLiteral("frmGraphSet"));
    auto* layout = new QVBoxLayout(this);

    auto* heads = new QHBoxLayout;
    for (const char* label : {"Label1(0)", "Label1(1)", "Label2(0)", "Label2(1)"})
        heads->addWidget(Named<QLabel>(QString::fromLatin1(label), this));
    layout->addLayout(heads);
    for (int i = 1; i <= 3; ++i) {
        auto* frame = Named<QWidget>(QStringLiteral("MinMax_CH%1").arg(i), this);
        auto* frameLayout = new QHBoxLayout(frame);
        frameLayout->setContentsMargins(0, 0, 0, 0);
        auto* box = Named<QGroupBox>(QStringLiteral("Frame1(%1)").arg(i - 1), frame);
        auto* row = new QHBoxLayout(box);
        row->addWidget(Named<QLineEdit>(QStringLiteral("Graph_Max(%1)").arg(i), box));
        row->addWidget(Named<QLineEdit>(QStringLiteral("Graph_Min(%1)").arg(i), box));
        row->addWidget(Named<QComboBox>(QStringLiteral("Combo1(%1)").arg(i), box));
        frameLayout->addWidget(box);
        layout->addWidget(frame);
    }

    auto* divisions = Named<QGroupBox>(QStringLiteral("Frame1(3)"), this);
    auto* divisionRow = new QHBoxLayout(divisions);
    divisionRow->addWidget(Named<QLabel>(QStringLiteral("Label1(2)"), divisions));
    divisionRow->addWidget(Named<QLineEdit>(QStringLiteral("Text1"), divisions));
    divisionRow->addWidget(Named<QLabel>(QStringLiteral("Label1(3)"), divisions));
    divisionRow->addWidget(Named<QLineEdit>(QStringLiteral("Text2"), divisions));
    layout->addWidget(divisions);

    auto* setPoint = Named<QGroupBox>(QStringLiteral("Frame2"), this);
    auto* spRow = new QHBoxLayout(setPoint);
    spRow->addWidget(Named<QLabel>(QStringLiteral("LabelSP(0)"), setPoint));
    spRow->addWidget(Named<QCheckBox>(QStringLiteral("CWButton1"), setPoint));
    spRow->addWidget(Named<QLabel>(QStringLiteral("LabelSP(1)"), setPoint));
    spRow->addStretch();
    layout->addWidget(setPoint);

    auto* colors = Named<QGroupBox>(QStringLiteral("Frame3"), this);
    auto* grid = new QGridLayout(colors);
    const char* const keys[][2] = {
        {"cmd_BackColor", "lbl_BackColor"}, {"cmd_GridColor", "lbl_Grid"}, {"cmd_TimeColor", "lbl_TimeColor"}};
    for (int r = 0; r < 3; ++r) {
        grid->addWidget(Named<QPushButton>(QString::fromLatin1(keys[r][0]), colors), r, 0);
        auto* label = Named<QLabel>(QString::fromLatin1(keys[r][1]), colors);
        label->setMinimumWidth(100);
        label->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        grid->addWidget(label, r, 1);
    }
    layout->addWidget(colors);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    auto* store = Named<QPushButton>(QStringLiteral("Command1"), this);
    store->setDefault(true);
    buttons->addWidget(store);
    buttons->addWidget(Named<QPushButton>(QStringLiteral("Command2"), this));
    layout->addLayout(buttons);

    view_ = new FormView(*form_, this);
    form_->unloaded = [this] { QDialog::done(QDialog::Accepted); };  // the form has unloaded
    form_->Form_Load();
    setWindowTitle(form_->title());
    view_->apply();
}

// The view goes first: a field that loses the focus while the widgets go
// must not reach a form that is gone.
GraphSetDialog::~GraphSetDialog() { delete view_; }

void GraphSetDialog::reject() {
    if (form_->isOpen())
        form_->Command2_Click();
    else
        QDialog::reject();
}

}  // namespace qel
