// frmSplash: stands in front while the frame loads. Its timer counts 2, 1, 0
// and at the next tick says the frame may show.
#pragma once

#include <QTimer>
#include <QWidget>

class QLabel;
class QProgressBar;

namespace qel {

class Splash : public QWidget {
    Q_OBJECT
public:
    explicit Splash(QWidget* parent = nullptr);
    QProgressBar* progressBar() const { return bar_; }
    void startCountdown(int intervalMs = 300);

signals:
    void timeUp();

private:
    QLabel* count_;
    QProgressBar* bar_;
    QTimer timer_;
    int left_ = 2;
};

}  // namespace qel
