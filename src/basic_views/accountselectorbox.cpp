#include "accountselectorbox.h"

#include "distinctvaluemodel.h"

#include "c_api/icore.h"
#include "c_api/tableregistry.h"

namespace {

Table* positionsTable()
{
    ICore* core = ICore::instance();
    TableRegistry* tables = core ? core->tables() : nullptr;
    return tables ? tables->table(QStringLiteral("positions")) : nullptr;
}

} // namespace

AccountSelectorBox::AccountSelectorBox(QWidget* parent)
    : AccountSelectorBox(positionsTable(), parent)
{
}

AccountSelectorBox::AccountSelectorBox(Table* positions, QWidget* parent)
    : ComboBoxSorted(parent),
      m_accounts(new DistinctValueModel(positions, QStringLiteral("account"), this))
{
    setObjectName(QStringLiteral("accountSelectorBox"));
    setSizeAdjustPolicy(QComboBox::AdjustToContents);
    setToolTip(tr("Счёт"));
    setSortedModel(m_accounts, 0, -1, Qt::CaseInsensitive);
    connect(this, QOverload<int>::of(&QComboBox::activated), this,
            &AccountSelectorBox::onActivated);
    // The box picks an item of its own when the list changes; the choice stays ours.
    QAbstractItemModel* shown = model();
    connect(shown, &QAbstractItemModel::rowsInserted, this, &AccountSelectorBox::showAccount);
    connect(shown, &QAbstractItemModel::rowsRemoved, this, &AccountSelectorBox::showAccount);
    connect(shown, &QAbstractItemModel::modelReset, this, &AccountSelectorBox::showAccount);
    connect(shown, &QAbstractItemModel::layoutChanged, this, &AccountSelectorBox::showAccount);
    showAccount();
}

AccountSelectorBox::~AccountSelectorBox() = default;

void AccountSelectorBox::setAccount(const QString& account)
{
    const QString chosen = account.trimmed();
    if (chosen == m_account) {
        showAccount();
        return;
    }
    m_account = chosen;
    showAccount();
    emit changedAccount(m_account);
}

void AccountSelectorBox::onActivated(int row)
{
    const QString chosen = itemText(row);
    if (chosen == m_account)
        return;
    m_account = chosen;
    emit changedAccount(m_account);
}

void AccountSelectorBox::showAccount()
{
    const int row = m_account.isEmpty()
                        ? -1
                        : findText(m_account, Qt::MatchFixedString | Qt::MatchCaseSensitive);
    if (currentIndex() != row)
        setCurrentIndex(row);
}
