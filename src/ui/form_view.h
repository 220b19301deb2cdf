// The widgets of a modal form's dialog, bound to the form by object name:
// apply() copies the form's controls onto them (texts, captions, frame
// titles, list items and index, switch states, colours, visibility), and the
// operator's edits go back to the form under the same names. A field gets
// the form's key-press filter as its validator, and losing the focus to
// another control of the dialog is the form's lostFocus.
#pragma once

#include "modal_form.h"

#include <QHash>
#include <QObject>
#include <QWidget>

namespace qel {

class FormView : public QObject {
public:
    // Binds the named widgets below `root` as they are now.
    FormView(ModalForm& form, QWidget* root);
    void apply();
    QWidget* widget(const QString& name) const { return widgets_.value(name); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void bind(QWidget* w);

    ModalForm& form_;
    QHash<QString, QWidget*> widgets_;
};

}  // namespace qel
