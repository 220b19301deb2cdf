#include "about_dialog.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSysInfo>
#include <QVBoxLayout>
#include <QtGlobal>

namespace qel {

QString SystemInformationText() {
    return QStringLiteral("System: %1\nKernel: %2 %3\nCPU: %4\nHost: %5\nQt: %6")
        .arg(QSysInfo::prettyProductName(), QSysInfo::kernelType(), QSysInfo::kernelVersion(),
             QSysInfo::currentCpuArchitecture(), QSysInfo::machineHostName(), QString::fromLatin1(qVersion()));
}

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("About QEL Station"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(
        QStringLiteral(
            "<h3>QEL Station</h3>Version %1<br>Monitoring and control of QEL2000 to QEL2400 chamber controllers.")
            .arg(QCoreApplication::applicationVersion()),
        this));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    auto* sysInfo = buttons->addButton(QStringLiteral("System Info..."), QDialogButtonBox::ActionRole);
    sysInfo->setObjectName(QStringLiteral("cmdSysInfo"));
    connect(sysInfo, &QPushButton::clicked, this,
            [this] { QMessageBox::information(this, QStringLiteral("System Information"), SystemInformationText()); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addWidget(buttons);
}

}  // namespace qel
