#pragma once

#include "treeindexmodel.h"

// A TreeIndexModel that shows its groups only: each group is a row without children that
// holds its records. What a combo box or a list of distinct values needs, without the
// cost of a row per record in the views.
class BASIC_VIEWS_EXPORT TreeIndexFastModel : public TreeIndexModel
{
    Q_OBJECT
public:
    explicit TreeIndexFastModel(Table* table, QObject* parent = nullptr);
    ~TreeIndexFastModel() override;

    QString getClassName() const override;

protected:
    bool showsRecords() const override;
};
