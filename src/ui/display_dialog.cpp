#include "display_dialog.h"

#include "form_view.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace qel {

namespace {

template <typename W>
W* Named(const char* name, QWidget* parent) {
    auto* w = new W(parent);
    w->setObjectName(QString::fromLatin1(name));
    return w;
}

}  // namespace

DisplayDialog::DisplayDialog(std::function<void()> recaption, QWidget* parent)
    : QDialog(parent), form_(std::move(recaption)) {
    setObjectName(QStringLiteral("frmDisplay"));
    auto* layout = new QVBoxLayout(this);

    auto* record = Named<QGroupBox>("Frame1", this);
    auto* recordRow = new QHBoxLayout(record);
    recordRow->addWidget(Named<QLabel>("Label2", record));
    recordRow->addWidget(Named<QLineEdit>("GraphSampling", record));
    layout->addWidget(record);

    auto* language = Named<QGroupBox>("Frame3", this);
    (new QHBoxLayout(language))->addWidget(Named<QComboBox>("Combo2", language));
    layout->addWidget(language);

    auto* keys = Named<QGroupBox>("Frame2", this);
    auto* keyRow = new QHBoxLayout(keys);
    for (const char* box : {"RunChkBtn", "StopChkBtn", "holdChkBtn", "advChkBtn"})
        keyRow->addWidget(Named<QCheckBox>(box, keys));
    layout->addWidget(keys);

    auto* alarm = Named<QGroupBox>("Frame4", this);
    auto* grid = new QGridLayout(alarm);
    grid->addWidget(Named<QLabel>("Label3", alarm), 0, 0);
    grid->addWidget(Named<QCheckBox>("DisChkBtn", alarm), 0, 1);
    grid->addWidget(Named<QLabel>("Label4", alarm), 1, 0);
    grid->addWidget(Named<QCheckBox>("CWSound", alarm), 1, 1);
    grid->addWidget(Named<QLabel>("Label1", alarm), 2, 0);
    grid->addWidget(Named<QComboBox>("Combo1", alarm), 2, 1);
    layout->addWidget(alarm);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    auto* store = Named<QPushButton>("Command1", this);
    store->setDefault(true);
    buttons->addWidget(store);
    buttons->addWidget(Named<QPushButton>("Command2", this));
    layout->addLayout(buttons);

    view_ = new FormView(form_, this);
    form_.unloaded = [this] { QDialog::done(QDialog::Accepted); };  // the form has unloaded
    form_.Form_Load();
    setWindowTitle(form_.title());
    view_->apply();
}

// The view goes first: a field that loses the focus while the widgets go
// must not reach a form that is gone.
DisplayDialog::~DisplayDialog() { delete view_; }

void DisplayDialog::reject() {
    if (form_.isOpen())
        form_.Command2_Click();
    else
        QDialog::reject();
}

}  // namespace qel
