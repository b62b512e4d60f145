#include "tableheadersettingsform.h"

#include "tableheadermodel.h"

#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QListView>
#include <QPushButton>
#include <QVBoxLayout>

TableHeaderSettingsForm::TableHeaderSettingsForm(QWidget* parent)
    : QWidget(parent), m_list(new QListView(this)), m_up(new QPushButton(tr("Вверх"), this)),
      m_down(new QPushButton(tr("Вниз"), this)),
      m_showAll(new QPushButton(tr("Показать все"), this)),
      m_defaults(new QPushButton(tr("По умолчанию"), this))
{
    m_list->setObjectName(QStringLiteral("columnsList"));
    m_up->setObjectName(QStringLiteral("upButton"));
    m_down->setObjectName(QStringLiteral("downButton"));
    m_showAll->setObjectName(QStringLiteral("showAllButton"));
    m_defaults->setObjectName(QStringLiteral("defaultsButton"));
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);

    auto* buttons = new QVBoxLayout;
    buttons->addWidget(m_up);
    buttons->addWidget(m_down);
    buttons->addSpacing(12);
    buttons->addWidget(m_showAll);
    buttons->addWidget(m_defaults);
    buttons->addStretch(1);
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(m_list, 1);
    layout->addLayout(buttons);

    connect(m_up, &QPushButton::clicked, this, &TableHeaderSettingsForm::moveUp);
    connect(m_down, &QPushButton::clicked, this, &TableHeaderSettingsForm::moveDown);
    connect(m_showAll, &QPushButton::clicked, this, [this] {
        if (m_model)
            m_model->showAll();
    });
    connect(m_defaults, &QPushButton::clicked, this, [this] {
        if (m_model)
            m_model->resetToDefaults();
    });
    updateButtons();
}

TableHeaderSettingsForm::~TableHeaderSettingsForm() = default;

void TableHeaderSettingsForm::setModel(TableHeaderModel* model)
{
    m_model = model;
    m_list->setModel(model);
    if (QItemSelectionModel* selection = m_list->selectionModel())
        connect(selection, &QItemSelectionModel::currentChanged, this,
                &TableHeaderSettingsForm::updateButtons);
    if (model) {
        connect(model, &QAbstractItemModel::modelReset, this,
                &TableHeaderSettingsForm::updateButtons);
        connect(model, &QAbstractItemModel::rowsMoved, this,
                &TableHeaderSettingsForm::updateButtons);
    }
    updateButtons();
}

void TableHeaderSettingsForm::moveUp()
{
    moveCurrent(-1);
}

void TableHeaderSettingsForm::moveDown()
{
    moveCurrent(1);
}

void TableHeaderSettingsForm::moveCurrent(int by)
{
    if (!m_model)
        return;
    const int row = m_list->currentIndex().row();
    const int target = row + by;
    if (row < 0 || target < 0 || target >= m_model->rowCount())
        return;
    // moveRow() names the row before which the moved one lands.
    m_model->moveRow(QModelIndex(), row, QModelIndex(), by > 0 ? target + 1 : target);
    m_list->setCurrentIndex(m_model->index(target));
}

void TableHeaderSettingsForm::updateButtons()
{
    const int rows = m_model ? m_model->rowCount() : 0;
    const int row = m_model ? m_list->currentIndex().row() : -1;
    m_up->setEnabled(row > 0);
    m_down->setEnabled(row >= 0 && row < rows - 1);
    m_showAll->setEnabled(rows > 0);
    m_defaults->setEnabled(rows > 0);
}
