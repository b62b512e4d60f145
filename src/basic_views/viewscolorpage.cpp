#include "viewscolorpage.h"

#include "viewscolormanager.h"

#include <QColorDialog>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

const int roles[] = {ViewsColorManager::Normal, ViewsColorManager::Selected};

} // namespace

ViewsColorPage::ViewsColorPage(int view, QObject* parent) : QObject(parent), m_view(view) {}

ViewsColorPage::~ViewsColorPage() = default;

QString ViewsColorPage::id()
{
    return ViewsColorManager::pageId(m_view);
}

QString ViewsColorPage::displayName()
{
    return ViewsColorManager::instance()->viewTitle(m_view);
}

QString ViewsColorPage::category()
{
    return QStringLiteral("Colors");
}

QString ViewsColorPage::displayCategory()
{
    return tr("Цвета");
}

QIcon ViewsColorPage::categoryIcon()
{
    return QIcon(QStringLiteral(":/icons/preferences/colors.png"));
}

bool ViewsColorPage::matches(const QString& text) const
{
    if (text.isEmpty())
        return false;
    const ViewsColorManager* manager = ViewsColorManager::instance();
    if (manager->viewTitle(m_view).contains(text, Qt::CaseInsensitive))
        return true;
    const QList<int> colours = manager->colors(m_view);
    for (int colour : colours) {
        if (manager->colorTitle(m_view, colour).contains(text, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

void ViewsColorPage::finish()
{
    m_table = nullptr;
    m_pending.clear();
}

QWidget* ViewsColorPage::createPage(QWidget* parent)
{
    const ViewsColorManager* manager = ViewsColorManager::instance();
    const QList<int> colours = manager->colors(m_view);
    m_pending.clear();

    auto* form = new QWidget(parent);
    m_table = new QTableWidget(colours.size(), 2, form);
    m_table->setObjectName(QStringLiteral("colorTable"));
    m_table->setHorizontalHeaderLabels({tr("Обычный"), tr("Выделенный")});
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    for (int row = 0; row < colours.size(); ++row) {
        const int colour = colours.at(row);
        auto* title = new QTableWidgetItem(manager->colorTitle(m_view, colour));
        m_table->setVerticalHeaderItem(row, title);
        for (int role : roles) {
            m_table->setItem(row, role, new QTableWidgetItem);
            m_pending.insert(qMakePair(role, colour), manager->colorOf(m_view, role, colour));
            updateCell(role, colour);
        }
    }
    connect(m_table, &QTableWidget::cellActivated, this, &ViewsColorPage::chooseColor);
    connect(m_table, &QTableWidget::cellDoubleClicked, this, &ViewsColorPage::chooseColor);

    auto* defaults = new QPushButton(tr("По умолчанию"), form);
    defaults->setObjectName(QStringLiteral("defaultsButton"));
    connect(defaults, &QPushButton::clicked, this, &ViewsColorPage::resetToDefaults);

    auto* layout = new QVBoxLayout(form);
    layout->addWidget(m_table);
    layout->addWidget(defaults, 0, Qt::AlignLeft);
    return form;
}

void ViewsColorPage::apply()
{
    ViewsColorManager* manager = ViewsColorManager::instance();
    for (auto it = m_pending.cbegin(); it != m_pending.cend(); ++it) {
        const int role = it.key().first;
        const int colour = it.key().second;
        if (it.value() != manager->colorOf(m_view, role, colour))
            manager->setColor(m_view, role, colour, it.value());
    }
}

QColor ViewsColorPage::pendingColor(int role, int colour) const
{
    const auto it = m_pending.constFind(qMakePair(role, colour));
    return it != m_pending.cend() ? *it
                                  : ViewsColorManager::instance()->colorOf(m_view, role, colour);
}

void ViewsColorPage::setPendingColor(int role, int colour, const QColor& value)
{
    if (!ViewsColorManager::instance()->colors(m_view).contains(colour) || !value.isValid())
        return;
    m_pending.insert(qMakePair(role, colour), value);
    updateCell(role, colour);
}

void ViewsColorPage::resetToDefaults()
{
    const ViewsColorManager* manager = ViewsColorManager::instance();
    const QList<int> colours = manager->colors(m_view);
    for (int colour : colours) {
        for (int role : roles)
            setPendingColor(role, colour, manager->defaultColor(m_view, role, colour));
    }
}

void ViewsColorPage::chooseColor(int row, int column)
{
    const QList<int> colours = ViewsColorManager::instance()->colors(m_view);
    if (row < 0 || row >= colours.size() || column < 0 || column > 1)
        return;
    const int colour = colours.at(row);
    const QColor chosen =
        QColorDialog::getColor(pendingColor(column, colour), m_table,
                               ViewsColorManager::instance()->colorTitle(m_view, colour));
    if (chosen.isValid())
        setPendingColor(column, colour, chosen);
}

void ViewsColorPage::updateCell(int role, int colour)
{
    if (!m_table)
        return;
    const int row = ViewsColorManager::instance()->colors(m_view).indexOf(colour);
    QTableWidgetItem* item = m_table->item(row, role);
    if (!item)
        return;
    const QColor value = pendingColor(role, colour);
    item->setBackground(value);
    item->setText(value.name());
    item->setForeground(value.lightness() < 128 ? Qt::white : Qt::black);
}
