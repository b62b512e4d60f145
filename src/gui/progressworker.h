#pragma once

#include "gui_global.h"

#include <QEventLoop>
#include <QObject>
#include <QPointer>

class ProgressDialog;

// A long task run under a ProgressDialog: subclasses do the work in run() and call
// processEvents from time to time. The dialog is the worker's parent.
class GUI_EXPORT ProgressWorker : public QObject
{
    Q_OBJECT
public:
    explicit ProgressWorker(ProgressDialog* dialog);
    ~ProgressWorker() override;

    // Does the work; called by ProgressDialog::execWorker.
    virtual void run() = 0;

    ProgressDialog* dialog() const;

    // Lets pending events through, for at most maxTime ms when it is above 0. False once the
    // user cancelled, and then the work should stop; also false when the dialog is gone.
    bool processEvents(QEventLoop::ProcessEventsFlags flags = QEventLoop::AllEvents,
                       int maxTime = 0);

private:
    Q_DISABLE_COPY(ProgressWorker)

    QPointer<ProgressDialog> m_dialog;
};
