#pragma once

#include "basic_views_global.h"

#include "database/fieldtype.h"

#include <QObject>
#include <QVariant>

class Field;
class Record;

// What a model asks of one of its columns when the column is more than a plain table
// field: its header, its values and their order. Each answer may decline (false), and the
// model then does what it does for a plain field.
//
// The order of the virtual operations is part of the plug-in contract.
class BASIC_VIEWS_EXPORT ColumnModelDelegate : public QObject
{
    Q_OBJECT
public:
    explicit ColumnModelDelegate(QObject* parent = nullptr);
    ~ColumnModelDelegate() override;

    // The column's header for a role.
    virtual bool headerData(int role, QVariant& value) const;
    // The FieldType of the column's values.
    virtual FieldType::Type getType() const;
    // The meta-type an editor of the column works with; QMetaType::UnknownType if none.
    virtual int type() const;
    // The value of a cell for a role. field is the cell of the column's table column, an
    // invalid Field for a column of its own.
    virtual bool data(const Field& field, const Record& record, int role, QVariant& result) const;
    // Orders two rows by this column for a role: result is less than, equal to or greater
    // than zero. By default the values that data() gives for the role (or the fields' own
    // values where it declines) ordered by the second form.
    virtual bool compare(const Field& left, const Record& leftRecord, const Field& right,
                         const Record& rightRecord, int& result, int role) const;
    // Orders two values of the column; by default by variant_compare, case-sensitively.
    virtual bool compare(const QVariant& left, const QVariant& right, int& result) const;
};
