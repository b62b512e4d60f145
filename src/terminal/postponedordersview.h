#pragma once

#include "orderpackage.h"

#include "c_api/iview.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QTableWidget;

// The view "PostponedOrders": a package of postponed orders handed over in text form (see
// OrderTextParser) as the view's key. It lists the orders and, on "Отправить", records them
// in the table "orders". The terminal has no connection to an exchange, so the orders go
// no further, and the view says so. Text that cannot be read is shown as an error, and
// nothing can be sent.
class PostponedOrdersView : public QWidget, public IView
{
    Q_OBJECT
    Q_INTERFACES(IView)

public:
    enum Column { InstrumentColumn, SideColumn, QuantityColumn, PriceColumn, ColumnCount };

    PostponedOrdersView(const QString& orderText, QWidget* parent = nullptr);
    ~PostponedOrdersView() override;

    const OrderPackage& package() const { return m_package; }
    bool isSent() const { return m_sent; }

    // IView
    void initCore(ICore* core) override;
    QList<IViewSettingsPage*> getSettingsPages(QObject* parent) override;
    void populateActionsAt(const QPoint& pos, QMenu* menu) override;
    void store(Settings& settings) const override;
    void restore(const Settings& first, const Settings& second) override;
    QSize defaultSize() override;

public slots:
    // Records the orders in the table "orders"; once per package.
    void send();

private:
    void fillTable();
    void updateState();

    OrderPackage m_package;
    bool m_sent = false;
    QLabel* m_headLabel;
    QTableWidget* m_table;
    QLabel* m_countLabel;
    QLabel* m_messageLabel;
    QPushButton* m_sendButton;
};
