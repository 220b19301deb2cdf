// frmGraphSet on the screen: a modal dialog over GraphSetForm. Widgets carry
// the form's control names (Graph_Max(1), Text1, CWButton1, lbl_Grid ...);
// the colour keys open the colour dialog, the range warning is a warning box.
#pragma once

#include "graph_set_form.h"

#include <QDialog>
#include <functional>
#include <memory>

namespace qel {

class FormView;

class GraphSetDialog : public QDialog {
    Q_OBJECT
public:
    // Loads the form for the chamber of status panel 2, or with `which` 99
    // for the pattern graph; the opener has stopped ReadComm. `applied` as
    // for GraphSetForm.
    GraphSetDialog(int which, std::function<void()> applied, QWidget* parent = nullptr);
    ~GraphSetDialog() override;

    GraphSetForm& form() { return *form_; }

    // Esc and the window's close key are Command2.
    void reject() override;

private:
    std::unique_ptr<Operator> op_;  // before the form, which holds it
    std::unique_ptr<GraphSetForm> form_;
    FormView* view_ = nullptr;
};

}  // namespace qel
