#include "treeindexfastmodel.h"

TreeIndexFastModel::TreeIndexFastModel(Table* table, QObject* parent)
    : TreeIndexModel(table, parent)
{
}

TreeIndexFastModel::~TreeIndexFastModel() = default;

QString TreeIndexFastModel::getClassName() const
{
    return QStringLiteral("TreeIndexFastModel");
}

bool TreeIndexFastModel::showsRecords() const
{
    return false;
}
