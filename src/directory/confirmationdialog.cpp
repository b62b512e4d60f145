#include "confirmationdialog.h"

#include "database/settings.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QEventLoop>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

ConfirmationDialog::ConfirmationDialog(QWidget* parent)
    : QWidget(parent, Qt::Dialog), m_text(new QLabel(this)),
      m_dontAsk(new QCheckBox(tr("Больше не спрашивать"), this)),
      m_buttons(new QDialogButtonBox(QDialogButtonBox::Yes | QDialogButtonBox::No, this))
{
    setWindowTitle(tr("Подтверждение"));

    auto* icon = new QLabel(this);
    const int extent = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    icon->setPixmap(
        style()->standardIcon(QStyle::SP_MessageBoxQuestion, nullptr, this).pixmap(extent, extent));
    icon->setAlignment(Qt::AlignTop);
    m_text->setWordWrap(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_dontAsk->setVisible(false);

    m_buttons->button(QDialogButtonBox::Yes)->setText(tr("Да"));
    m_buttons->button(QDialogButtonBox::No)->setText(tr("Нет"));
    connect(m_buttons, &QDialogButtonBox::accepted, this, [this] { finish(true); });
    connect(m_buttons, &QDialogButtonBox::rejected, this, [this] { finish(false); });

    auto* message = new QHBoxLayout;
    message->addWidget(icon);
    message->addWidget(m_text, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(message);
    layout->addWidget(m_dontAsk);
    layout->addWidget(m_buttons);
}

ConfirmationDialog::~ConfirmationDialog()
{
    if (m_loop)
        m_loop->exit();
}

void ConfirmationDialog::setText(const QString& text)
{
    m_text->setText(text);
}

QString ConfirmationDialog::text() const
{
    return m_text->text();
}

void ConfirmationDialog::setSettingsKey(const QString& key)
{
    m_settingsKey = key;
    m_dontAsk->setVisible(!key.isEmpty());
}

QString ConfirmationDialog::settingsKey() const
{
    return m_settingsKey;
}

bool ConfirmationDialog::isAsking() const
{
    if (m_settingsKey.isEmpty())
        return true;
    return AppSettings(QString()).value(m_settingsKey, true).toBool();
}

bool ConfirmationDialog::exec()
{
    if (m_loop) {
        qWarning("ConfirmationDialog: already asking");
        return false;
    }
    if (!isAsking())
        return true;

    m_confirmed = false;
    m_dontAsk->setChecked(false);
    if (windowModality() == Qt::NonModal)
        setWindowModality(Qt::ApplicationModal);
    show();
    m_buttons->button(QDialogButtonBox::Yes)->setFocus();

    QPointer<ConfirmationDialog> guard(this);
    QEventLoop loop;
    m_loop = &loop;
    loop.exec(QEventLoop::DialogExec);
    if (!guard)
        return false; // destroyed while asking: nothing was confirmed
    m_loop = nullptr;
    hide();

    if (m_confirmed && !m_settingsKey.isEmpty() && m_dontAsk->isChecked()) {
        AppSettings settings{QString()};
        settings.setValue(m_settingsKey, false);
    }
    return m_confirmed;
}

void ConfirmationDialog::finish(bool confirmed)
{
    m_confirmed = confirmed;
    if (m_loop)
        m_loop->exit();
}

void ConfirmationDialog::closeEvent(QCloseEvent* event)
{
    // Closing the window is a "no".
    if (m_loop)
        finish(false);
    event->accept();
}

void ConfirmationDialog::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Escape:
        finish(false);
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter: {
        // The button with the focus answers; elsewhere Enter means yes.
        auto* focused = qobject_cast<QAbstractButton*>(focusWidget());
        if (focused && m_buttons->isAncestorOf(focused))
            focused->click();
        else
            finish(true);
        return;
    }
    default:
        QWidget::keyPressEvent(event);
    }
}
