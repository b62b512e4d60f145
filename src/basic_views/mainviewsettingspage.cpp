#include "mainviewsettingspage.h"

#include "database/settings.h"

#include <QFormLayout>
#include <QLineEdit>

MainViewSettingsPage::MainViewSettingsPage(QObject* parent) : QObject(parent) {}

MainViewSettingsPage::~MainViewSettingsPage() = default;

QString MainViewSettingsPage::titleKey()
{
    return QStringLiteral("userTitle");
}

QString MainViewSettingsPage::id()
{
    return QStringLiteral("MainView");
}

QString MainViewSettingsPage::displayName()
{
    return tr("Общие");
}

QIcon MainViewSettingsPage::categoryIcon()
{
    return QIcon();
}

bool MainViewSettingsPage::matches(const QString& text) const
{
    return !text.isEmpty() && (tr("Общие").contains(text, Qt::CaseInsensitive) ||
                               tr("Заголовок").contains(text, Qt::CaseInsensitive));
}

void MainViewSettingsPage::finish()
{
    m_title = nullptr;
}

QWidget* MainViewSettingsPage::createPage(const Settings& settings, QWidget* parent)
{
    auto* form = new QWidget(parent);
    m_title = new QLineEdit(form);
    m_title->setObjectName(QStringLiteral("titleEdit"));
    m_title->setText(settings.value(titleKey()).toString());
    m_title->setPlaceholderText(tr("Заголовок по умолчанию"));
    auto* layout = new QFormLayout(form);
    layout->addRow(tr("Заголовок:"), m_title);
    return form;
}

void MainViewSettingsPage::apply(Settings& settings)
{
    if (m_title)
        settings.setValue(titleKey(), m_title->text().trimmed());
}
