#include "progressdialog.h"

#include "progressworker.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

ProgressDialog::ProgressDialog(QWidget* parent)
    : QDialog(parent), m_label(new QLabel(this)), m_bar(new QProgressBar(this)),
      m_cancelButton(new QPushButton(tr("Отмена"), this))
{
    setModal(true);
    m_label->setWordWrap(true);
    m_bar->setRange(0, 100);
    m_bar->setValue(0);
    m_cancelButton->setObjectName(QStringLiteral("cancelButton"));
    connect(m_cancelButton, &QPushButton::clicked, this, &ProgressDialog::cancel);

    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(m_cancelButton, QDialogButtonBox::RejectRole);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_label);
    layout->addWidget(m_bar);
    layout->addWidget(buttons);
    setMinimumWidth(320);
}

ProgressDialog::~ProgressDialog() = default;

void ProgressDialog::setProgress(int percent)
{
    m_bar->setValue(qBound(0, percent, 100));
}

int ProgressDialog::progress() const
{
    return m_bar->value();
}

void ProgressDialog::setText(const QString& text)
{
    m_label->setText(text);
}

QString ProgressDialog::text() const
{
    return m_label->text();
}

bool ProgressDialog::execWorker(ProgressWorker* worker)
{
    if (!worker || m_running)
        return false;
    m_running = true;
    m_cancelled = false;
    m_cancelButton->setEnabled(true);

    const QPointer<ProgressWorker> guard(worker);
    // The run starts inside exec(), so that the dialog is up and modal while it works.
    QTimer::singleShot(0, this, [this, guard] {
        if (guard)
            guard->run();
        m_running = false;
        done(m_cancelled ? QDialog::Rejected : QDialog::Accepted);
    });
    exec();
    m_running = false;
    return !m_cancelled;
}

void ProgressDialog::cancel()
{
    m_cancelled = true;
    m_cancelButton->setEnabled(false);
}

void ProgressDialog::reject()
{
    if (m_running)
        cancel();
    else
        QDialog::reject();
}
