// frmAbout: the version, and on request what the system says of itself.
#pragma once

#include <QDialog>

namespace qel {

class AboutDialog : public QDialog {
    Q_OBJECT
public:
    explicit AboutDialog(QWidget* parent = nullptr);
};

// The system-information text that stands in for the system's own program.
QString SystemInformationText();

}  // namespace qel
