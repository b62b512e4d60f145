#include "postponedordersview.h"

#include "orderstable.h"
#include "ordertextparser.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/settings.h"
#include "directory/securitydirectory.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

const char* const SentKey = "sent";

QString instrumentName(const PostponedOrder& order)
{
    const Record security =
        SecurityDirectory::i().recordById(order.stockId, order.boardId, order.secId);
    const QString name =
        security.isNull() ? QString() : security.data(QStringLiteral("sec_name")).toString();
    if (!name.isEmpty())
        return name;
    return QStringLiteral("%1/%2/%3").arg(order.stockId).arg(order.boardId).arg(order.secId);
}

} // namespace

PostponedOrdersView::PostponedOrdersView(const QString& orderText, QWidget* parent)
    : QWidget(parent), m_package(OrderTextParser::parse(orderText)), m_headLabel(new QLabel(this)),
      m_table(new QTableWidget(0, ColumnCount, this)), m_countLabel(new QLabel(this)),
      m_messageLabel(new QLabel(this)), m_sendButton(new QPushButton(tr("Отправить"), this))
{
    setWindowTitle(m_package.isValid() && !m_package.baseCode.isEmpty()
                       ? tr("Отложенные заявки - %1").arg(m_package.baseCode)
                       : tr("Отложенные заявки"));
    m_table->setObjectName(QStringLiteral("orders"));
    m_table->setHorizontalHeaderLabels(
        {tr("Инструмент"), tr("Направление"), tr("Количество"), tr("Цена")});
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setStretchLastSection(true);
    // Texts of the package are the caller's, never markup.
    m_headLabel->setTextFormat(Qt::PlainText);
    m_messageLabel->setTextFormat(Qt::PlainText);
    m_messageLabel->setObjectName(QStringLiteral("message"));
    m_messageLabel->setWordWrap(true);
    m_sendButton->setObjectName(QStringLiteral("send"));
    connect(m_sendButton, &QPushButton::clicked, this, &PostponedOrdersView::send);

    auto* bottom = new QHBoxLayout;
    bottom->addWidget(m_countLabel);
    bottom->addStretch();
    bottom->addWidget(m_sendButton);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_headLabel);
    layout->addWidget(m_table);
    layout->addWidget(m_messageLabel);
    layout->addLayout(bottom);

    fillTable();
    updateState();
}

PostponedOrdersView::~PostponedOrdersView() = default;

void PostponedOrdersView::fillTable()
{
    m_table->setRowCount(m_package.orders.size());
    for (int row = 0; row < m_package.orders.size(); ++row) {
        const PostponedOrder& order = m_package.orders.at(row);
        const auto put = [&](int column, const QString& text, Qt::Alignment alignment) {
            auto* item = new QTableWidgetItem(text);
            item->setTextAlignment(int(alignment | Qt::AlignVCenter));
            m_table->setItem(row, column, item);
        };
        put(InstrumentColumn, instrumentName(order), Qt::AlignLeft);
        put(SideColumn, order.isBuy() ? tr("Покупка") : tr("Продажа"), Qt::AlignLeft);
        put(QuantityColumn, QString::number(qAbs(order.quantity)), Qt::AlignRight);
        put(PriceColumn, order.price.toSystemStringShort(), Qt::AlignRight);
    }
    m_table->resizeColumnsToContents();
}

void PostponedOrdersView::updateState()
{
    if (!m_package.isValid()) {
        m_headLabel->setText(tr("Пакет заявок не прочитан"));
        m_countLabel->setText(QString());
        m_messageLabel->setText(tr("Ошибка: %1").arg(m_package.error));
        m_messageLabel->setStyleSheet(QStringLiteral("color: #b00020"));
        m_sendButton->setEnabled(false);
        return;
    }
    m_headLabel->setText(
        tr("Базовый актив: %1    Счёт: %2").arg(m_package.baseCode, m_package.account));
    m_countLabel->setText(tr("Заявок: %1").arg(m_package.orders.size()));
    m_sendButton->setEnabled(!m_sent && !m_package.orders.isEmpty());
    m_messageLabel->setStyleSheet(QString());
    if (m_sent)
        m_messageLabel->setText(tr("Заявки записаны в таблицу заявок, но не отправлены: "
                                   "нет соединения с биржей."));
    else if (m_package.orders.isEmpty())
        m_messageLabel->setText(tr("Пакет не содержит заявок."));
    else
        m_messageLabel->setText(tr("Нет соединения с биржей: заявки будут только записаны в "
                                   "таблицу заявок."));
}

void PostponedOrdersView::send()
{
    if (m_sent || !m_package.isValid() || m_package.orders.isEmpty())
        return;
    ICore* core = ICore::instance();
    auto* orders = core
                       ? qobject_cast<OrdersTable*>(core->tables()->table(QStringLiteral("orders")))
                       : nullptr;
    if (!orders) {
        m_messageLabel->setText(tr("Таблица заявок недоступна: заявки не записаны."));
        return;
    }
    orders->record(m_package, tr("Не отправлена: нет соединения"));
    m_sent = true;
    updateState();
}

void PostponedOrdersView::initCore(ICore*) {}

QList<IViewSettingsPage*> PostponedOrdersView::getSettingsPages(QObject*)
{
    return {};
}

void PostponedOrdersView::populateActionsAt(const QPoint&, QMenu* menu)
{
    QAction* action = menu->addAction(tr("Отправить"), this, &PostponedOrdersView::send);
    action->setEnabled(m_sendButton->isEnabled());
}

void PostponedOrdersView::store(Settings& settings) const
{
    settings.setValue(QLatin1String(SentKey), m_sent);
}

void PostponedOrdersView::restore(const Settings&, const Settings& second)
{
    // A package sent before stays sent: the orders are in the table already.
    m_sent = second.value(QLatin1String(SentKey), false).toBool();
    updateState();
}

QSize PostponedOrdersView::defaultSize()
{
    return QSize(640, 360);
}
