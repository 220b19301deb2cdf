// frmDisplay on the screen: a modal dialog over DisplayForm. Widgets carry
// the form's control names (GraphSampling, Combo2, RunChkBtn ...).
#pragma once

#include "display_form.h"

#include <QDialog>
#include <functional>

namespace qel {

class FormView;

class DisplayDialog : public QDialog {
    Q_OBJECT
public:
    // Loads the form (its poll starts): the opener has stopped ReadComm.
    // `recaption` as for DisplayForm.
    explicit DisplayDialog(std::function<void()> recaption, QWidget* parent = nullptr);
    ~DisplayDialog() override;

    DisplayForm& form() { return form_; }

    // Esc and the window's close key are Command2.
    void reject() override;

private:
    DisplayForm form_;
    FormView* view_ = nullptr;
};

}  // namespace qel
