#include "progressworker.h"

#include "progressdialog.h"

#include <QCoreApplication>

ProgressWorker::ProgressWorker(ProgressDialog* dialog) : QObject(dialog), m_dialog(dialog) {}

ProgressWorker::~ProgressWorker() = default;

ProgressDialog* ProgressWorker::dialog() const
{
    return m_dialog;
}

bool ProgressWorker::processEvents(QEventLoop::ProcessEventsFlags flags, int maxTime)
{
    if (maxTime > 0)
        QCoreApplication::processEvents(flags, maxTime);
    else
        QCoreApplication::processEvents(flags);
    return m_dialog && !m_dialog->wasCancelled();
}
