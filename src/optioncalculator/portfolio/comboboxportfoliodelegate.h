#pragma once

#include "basic_views/comboboxdelegate.h"

// Edits an instrument cell of the model portfolio (name, strike, expiry, option type) with
// a list of securities from its factory. The model is handed the chosen security itself,
// as a Record, and takes the row over to it.
class ComboBoxPortfolioDelegate : public ComboBoxDelegate
{
    Q_OBJECT
public:
    explicit ComboBoxPortfolioDelegate(ComboBoxContainerFactory* factory,
                                       QObject* parent = nullptr);
    ~ComboBoxPortfolioDelegate() override;

    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;
};
