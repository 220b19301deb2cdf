#include "splash.h"

#include <QCoreApplication>
#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

namespace qel {

Splash::Splash(QWidget* parent) : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint) {
    auto* layout = new QVBoxLayout(this);
    auto* title = new QLabel(QStringLiteral("<h2>QEL Station</h2>"), this);
    auto* version = new QLabel(QStringLiteral("Version %1").arg(QCoreApplication::applicationVersion()), this);
    count_ = new QLabel(this);
    bar_ = new QProgressBar(this);
    bar_->setTextVisible(false);
    for (QLabel* l : {title, version, count_}) l->setAlignment(Qt::AlignCenter);
    layout->addWidget(title);
    layout->addWidget(version);
    layout->addWidget(count_);
    layout->addWidget(bar_);
    setFixedSize(360, 160);
    connect(&timer_, &QTimer::timeout, this, [this] {
        if (left_ < 0) {
            timer_.stop();
            emit timeUp();
            return;
        }
        count_->setText(QString::number(left_--));
    });
}

void Splash::startCountdown(int intervalMs) {
    left_ = 2;
    timer_.start(intervalMs);
}

}  // namespace qel
