#pragma once

#include "gui_global.h"

#include <QDialog>

class ProgressWorker;
class QLabel;
class QProgressBar;
class QPushButton;

// A modal dialog that shows the progress of a long task and lets the user cancel it.
//
// The task is a ProgressWorker whose run() execWorker calls on the calling thread from
// within the dialog's own event loop. The worker lets events through now and then with
// ProgressWorker::processEvents, which keeps the dialog painted and the cancel button
// working, and stops when that returns false. Closing the dialog counts as cancelling; the
// dialog stays until run() returns.
class GUI_EXPORT ProgressDialog : public QDialog
{
    Q_OBJECT
public:
    explicit ProgressDialog(QWidget* parent = nullptr);
    ~ProgressDialog() override;

    // Percent, clamped to 0..100.
    void setProgress(int percent);
    int progress() const;
    void setText(const QString& text);
    QString text() const;

    // Runs the worker as told above; true when it finished without being cancelled. False
    // at once for a null worker or while another worker runs.
    bool execWorker(ProgressWorker* worker);

    bool wasCancelled() const { return m_cancelled; }

public slots:
    // What the cancel button does.
    void cancel();
    // Closing the dialog while a worker runs cancels it rather than leaving it unseen.
    void reject() override;

private:
    QLabel* m_label;
    QProgressBar* m_bar;
    QPushButton* m_cancelButton;
    bool m_cancelled = false;
    bool m_running = false;
};
