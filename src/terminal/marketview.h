#pragma once

#include "basic_views/commonview.h"

#include <QPointer>

class BaseCodeSelectorModel;
class QComboBox;
class TableIndexModel;

// The view "Market": the securities of one base asset, live from the table "securities".
// Its key is the base code; a combo box in its tool bar switches to another one. Options
// stand by strike, with the futures of the base before them.
class MarketView : public CommonView
{
    Q_OBJECT
public:
    explicit MarketView(const QString& baseCode, QWidget* parent = nullptr);
    ~MarketView() override;

    QString baseCode() const { return m_baseCode; }
    void setBaseCode(const QString& baseCode);
    TableIndexModel* marketModel() const { return m_model; }

    void initCore(ICore* core) override;
    void store(Settings& settings) const override;
    void restore(const Settings& first, const Settings& second) override;
    QSize defaultSize() override;

private:
    void fillBaseCodes();

    TableIndexModel* m_model = nullptr;
    BaseCodeSelectorModel* m_baseCodes = nullptr;
    QComboBox* m_selector = nullptr;
    QString m_baseCode;
    int m_baseCodeColumn = -1;
};
