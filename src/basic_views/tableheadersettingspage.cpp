#include "tableheadersettingspage.h"

#include "tableheadermodel.h"
#include "tableheadersettingsform.h"

TableHeaderSettingsPage::TableHeaderSettingsPage(TableHeaderModel* model, QObject* parent)
    : QObject(parent), m_model(model)
{
    if (model && !model->parent())
        model->setParent(this);
}

TableHeaderSettingsPage::~TableHeaderSettingsPage() = default;

QString TableHeaderSettingsPage::id()
{
    return QStringLiteral("TableHeader");
}

QString TableHeaderSettingsPage::displayName()
{
    return tr("Столбцы");
}

QIcon TableHeaderSettingsPage::categoryIcon()
{
    return QIcon();
}

bool TableHeaderSettingsPage::matches(const QString& text) const
{
    if (text.isEmpty())
        return false;
    if (tr("Столбцы").contains(text, Qt::CaseInsensitive))
        return true;
    if (!m_model)
        return false;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        if (m_model->index(row).data().toString().contains(text, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

void TableHeaderSettingsPage::finish()
{
    m_form = nullptr;
}

QWidget* TableHeaderSettingsPage::createPage(const Settings& settings, QWidget* parent)
{
    if (m_model)
        m_model->read(settings);
    m_form = new TableHeaderSettingsForm(parent);
    m_form->setModel(m_model);
    return m_form;
}

void TableHeaderSettingsPage::apply(Settings& settings)
{
    if (m_model)
        m_model->write(settings);
}
