#include "form_view.h"

#include "control_binding.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QFocusEvent>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QValidator>

namespace qel {

namespace {

// The form's key-press filter on every change of the field, typed or pasted.
class FieldFilter final : public QValidator {
public:
    FieldFilter(const ModalForm& form, QString name, QObject* parent)
        : QValidator(parent), form_(form), name_(std::move(name)) {}
    State validate(QString& input, int&) const override { return form_.accepts(name_, input) ? Acceptable : Invalid; }

private:
    const ModalForm& form_;
    QString name_;
};

}  // namespace

FormView::FormView(ModalForm& form, QWidget* root) : QObject(root), form_(form) {
    for (QWidget* w : root->findChildren<QWidget*>())
        if (!w->objectName().isEmpty()) bind(w);
}

void FormView::bind(QWidget* w) {
    const QString name = w->objectName();
    widgets_.insert(name, w);
    if (auto* edit = qobject_cast<QLineEdit*>(w)) {
        edit->setValidator(new FieldFilter(form_, name, edit));
        connect(edit, &QLineEdit::textEdited, this, [this, name](const QString& text) { form_.setText(name, text); });
        edit->installEventFilter(this);
    } else if (auto* combo = qobject_cast<QComboBox*>(w)) {
        connect(combo, &QComboBox::activated, this, [this, name](int index) {
            form_.listClick(name, index);
            apply();
        });
    } else if (auto* button = qobject_cast<QAbstractButton*>(w)) {
        connect(button, &QAbstractButton::clicked, this, [this, name, button](bool on) {
            if (button->isCheckable()) form_.setChecked(name, on);
            form_.click(name);
            apply();
        });
    }
}

void FormView::apply() {
    const ControlSet& set = form_.controls();
    for (auto it = widgets_.cbegin(); it != widgets_.cend(); ++it) {
        const QString& name = it.key();
        QWidget* w = it.value();
        if (auto* combo = qobject_cast<QComboBox*>(w)) {
            const QStringList items = form_.items(name);
            QStringList shown;
            for (int i = 0; i < combo->count(); ++i) shown << combo->itemText(i);
            if (shown != items) {
                combo->clear();
                combo->addItems(items);
            }
            if (combo->currentIndex() != form_.listIndex(name)) combo->setCurrentIndex(form_.listIndex(name));
        }
        if (!set.has(name)) continue;
        const Control& c = set.get(name);
        if (auto* edit = qobject_cast<QLineEdit*>(w)) {
            if (edit->text() != c.caption) edit->setText(c.caption);
        } else if (auto* box = qobject_cast<QGroupBox*>(w)) {
            if (box->title() != c.caption) box->setTitle(c.caption);
        } else if (qobject_cast<QLabel*>(w) || qobject_cast<QAbstractButton*>(w)) {
            ApplyControl(w, c);
            continue;  // visibility too
        }
        if (w->isHidden() == c.visible) w->setVisible(c.visible);
    }
}

bool FormView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusOut) {
        // Only a move to another control of the dialog: a box or another
        // window taking the focus is no edit finished.
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) {
            form_.lostFocus(watched->objectName());
            apply();
        }
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace qel
