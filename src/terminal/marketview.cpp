#include "marketview.h"

#include "basic_views/basecodeselectormodel.h"
#include "basic_views/pricecolumndelegate.h"
#include "basic_views/tableindexmodel.h"
#include "c_api/icore.h"
#include "c_api/tableregistry.h"
#include "database/fieldvalue.h"
#include "database/settings.h"
#include "database/table.h"

#include <QComboBox>
#include <QLabel>
#include <QToolBar>

namespace {

const QString BaseCodeKey = QStringLiteral("baseCode");

Table* securitiesTable()
{
    const ICore* core = ICore::instance();
    return core ? core->tables()->table(QStringLiteral("securities")) : nullptr;
}

} // namespace

MarketView::MarketView(const QString& baseCode, QWidget* parent) : CommonView(parent)
{
    m_baseCodes = new BaseCodeSelectorModel(this);
    m_baseCodes->setFilterSectype(QLatin1Char('F'));
    m_selector = new QComboBox;
    m_selector->setObjectName(QStringLiteral("baseCodes"));
    m_selector->setMinimumContentsLength(8);
    auto* bar = new QToolBar(tr("Базовый актив"));
    bar->addWidget(new QLabel(tr("Базовый актив: ")));
    bar->addWidget(m_selector);
    addToolBar(bar);

    if (Table* table = securitiesTable()) {
        m_model = new TableIndexModel(table, this);
        m_model->clearColumns();
        for (const char* column :
             {"sec_name", "option_type", "strike", "expdate", "bid", "ask", "price",
              "theor_price", "volat", "delta", "gamma", "vega", "theta", "lasttime"})
            m_model->addColumn(QString::fromLatin1(column));
        // Prices at the decimals of their security, not at the column's scale.
        for (const char* column : {"strike", "bid", "ask", "price", "theor_price"}) {
            const int at = m_model->fieldIndex(QString::fromLatin1(column));
            if (at >= 0)
                m_model->setColumnDelegate(at, new PriceColumnDelegate(m_model));
        }
        m_baseCodeColumn = table->columnIndex(QStringLiteral("base_code"));
        const int strike = m_model->fieldIndex(QStringLiteral("strike"));
        if (strike >= 0)
            m_model->setSort(strike, Qt::AscendingOrder);
        setModel(m_model);
    }
    fillBaseCodes();
    setBaseCode(baseCode.isEmpty() && m_selector->count() > 0 ? m_selector->itemText(0)
                                                               : baseCode);
    connect(m_selector, &QComboBox::textActivated, this, &MarketView::setBaseCode);
}

MarketView::~MarketView() = default;

void MarketView::fillBaseCodes()
{
    m_baseCodes->populate();
    const QSignalBlocker blocker(m_selector);
    m_selector->clear();
    m_selector->addItems(m_baseCodes->values());
    m_selector->setCurrentText(m_baseCode);
}

void MarketView::setBaseCode(const QString& baseCode)
{
    m_baseCode = baseCode;
    setWindowTitle(baseCode.isEmpty() ? tr("Рынок") : tr("Рынок: %1").arg(baseCode));
    if (m_selector->findText(baseCode) < 0)
        fillBaseCodes();
    const QSignalBlocker blocker(m_selector);
    m_selector->setCurrentText(baseCode);
    if (m_model && m_baseCodeColumn >= 0) {
        m_model->setColumnFilter(m_baseCodeColumn, FieldConstValue(baseCode));
        m_model->rebuild();
    }
}

void MarketView::initCore(ICore* core)
{
    Q_UNUSED(core)
    fillBaseCodes();
}

void MarketView::store(Settings& settings) const
{
    settings.setValue(BaseCodeKey, m_baseCode);
    CommonView::store(settings);
}

void MarketView::restore(const Settings& first, const Settings& second)
{
    const QString code = first.value(BaseCodeKey, second.value(BaseCodeKey)).toString();
    if (!code.isEmpty())
        setBaseCode(code);
    CommonView::restore(first, second);
}

QSize MarketView::defaultSize()
{
    return QSize(900, 500);
}
