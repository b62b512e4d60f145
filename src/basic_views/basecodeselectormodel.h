#pragma once

#include "checkeditemmodelbytable.h"

#include <QChar>

// The base codes of the table "securities": the distinct "base_code" values, of the rows
// of one security type ("sectype") when a filter is set.
class BASIC_VIEWS_EXPORT BaseCodeSelectorModel : public CheckedItemModelByTable
{
    Q_OBJECT
public:
    explicit BaseCodeSelectorModel(QObject* parent = nullptr);
    BaseCodeSelectorModel(Table* securities, QObject* parent = nullptr);
    ~BaseCodeSelectorModel() override;

    // Lists only the base codes of securities of this type ('F', 'O'); a null character
    // lists all. Takes effect at the next populate().
    void setFilterSectype(const QChar& sectype);
    QChar filterSectype() const { return m_sectype; }

protected:
    void beginPopulate(const Table* table) override;
    bool filter(const Record& record) const override;

private:
    QChar m_sectype;
    int m_sectypeColumn = -1;
};
