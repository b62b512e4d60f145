#pragma once

#include "basic_views_global.h"

#include "gui/comboboxsorted.h"

class DistinctValueModel;
class Table;

// The choice of a client account: the accounts that hold positions, from the column
// `account` of the terminal's table "positions", kept up to date as positions come and
// go. The account chosen stays chosen while the list changes; one set before it has
// positions is picked as soon as it appears. changedAccount() tells of a choice of the
// user or of setAccount(), not of changes of the list.
class BASIC_VIEWS_EXPORT AccountSelectorBox : public ComboBoxSorted
{
    Q_OBJECT
public:
    // Over the table "positions" of ICore::instance(); empty when there is none.
    explicit AccountSelectorBox(QWidget* parent = nullptr);
    AccountSelectorBox(Table* positions, QWidget* parent);
    ~AccountSelectorBox() override;

    QString account() const { return m_account; }
    void setAccount(const QString& account);

signals:
    void changedAccount(const QString& account);

private:
    void onActivated(int row);
    void showAccount();

    DistinctValueModel* m_accounts;
    QString m_account;
};
