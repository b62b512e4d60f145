#include "markettables.h"

#include "database/masterindex_struct.h"
#include "database/table.h"

namespace {

const QString StockId = QStringLiteral("stock_id");
const QString BoardId = QStringLiteral("board_id");
const QString SecId = QStringLiteral("sec_id");
const QString Account = QStringLiteral("account");
const QString IsinId = QStringLiteral("isin_id");

constexpr int AccountLength = 20;

int column(const Table* table, const char* name)
{
    return table ? table->columnIndex(QLatin1String(name)) : -1;
}

} // namespace

MarketTables::SecuritiesColumns::SecuritiesColumns(const Table* t)
    : stockId(column(t, "stock_id")), boardId(column(t, "board_id")), secId(column(t, "sec_id")),
      secName(column(t, "sec_name")), secFullname(column(t, "sec_fullname")),
      sectype(column(t, "sectype")), optionType(column(t, "option_type")),
      baseCode(column(t, "base_code")), strike(column(t, "strike")), expdate(column(t, "expdate")),
      decimals(column(t, "decimals")), priceStep(column(t, "price_step")),
      volat(column(t, "volat")), theorPrice(column(t, "theor_price")), delta(column(t, "delta")),
      gamma(column(t, "gamma")), vega(column(t, "vega")), theta(column(t, "theta")),
      bid(column(t, "bid")), ask(column(t, "ask")), price(column(t, "price")),
      curKotirReal(column(t, "cur_kotir_real")), curKotir(column(t, "cur_kotir")),
      oldKotir(column(t, "old_kotir")), volatMin(column(t, "volat_min")),
      volatMax(column(t, "volat_max")), baseIsinId(column(t, "base_isin_id")),
      mainSecId(column(t, "main_sec_id")), isinId(column(t, "isin_id")),
      europe(column(t, "europe")), lasttime(column(t, "lasttime")), lotSize(column(t, "lot_size"))
{
}

MarketTables::PositionsColumns::PositionsColumns(const Table* t)
    : account(column(t, "account")), stockId(column(t, "stock_id")), boardId(column(t, "board_id")),
      secId(column(t, "sec_id")), secName(column(t, "sec_name")), sectype(column(t, "sectype")),
      pos(column(t, "pos")), waprice(column(t, "waprice")), expdate(column(t, "expdate"))
{
}

MarketTables::VolatCoeffColumns::VolatCoeffColumns(const Table* t)
    : isinId(column(t, "isin_id")), a(column(t, "a")), b(column(t, "b")), c(column(t, "c")),
      d(column(t, "d")), e(column(t, "e")), s(column(t, "s"))
{
}

MarketTables::MarketTables(QObject* parent)
    : QObject(parent), m_securities(createSecurities(this)), m_positions(createPositions(this)),
      m_volatCoeff(createVolatCoeff(this))
{
}

MarketTables::~MarketTables() = default;

QString MarketTables::securitiesName()
{
    return QStringLiteral("securities");
}

QString MarketTables::positionsName()
{
    return QStringLiteral("positions");
}

QString MarketTables::volatCoeffName()
{
    return QStringLiteral("tz.volat_coeff");
}

Table* MarketTables::createSecurities(QObject* parent)
{
    auto* t = new Table(securitiesName(), tr("Инструменты"), parent);
    const FieldType::Type Int = FieldType::Integer;
    const FieldType::Type Int64 = FieldType::Integer64;
    const FieldType::Type Text = FieldType::String;
    const FieldType::Type Dec = FieldType::Decimal;
    const FieldType::Type Date = FieldType::DateTime;

    t->addColumn(StockId, Int, 0, false, tr("Биржа"), false, tr("Код биржи (1 — срочный рынок)"));
    t->addColumn(BoardId, Int, 0, false, tr("Режим"), false,
                 tr("Код режима торгов (1 — фьючерсы, 14 — опционы, 2 — адресные сделки)"));
    t->addColumn(SecId, Int64, 0, false, tr("Код инструмента"), false,
                 tr("Уникальный код инструмента в торговой системе"));
    t->setMasterIndex(MasterIndex_Struct<int, int, __int64>::create(t, {StockId, BoardId, SecId}));

    t->addColumn(QStringLiteral("sec_name"), Text, 40, false, tr("Инструмент"), true,
                 tr("Краткое наименование инструмента"));
    t->addColumn(QStringLiteral("sec_fullname"), Text, 80, false, tr("Наименование"), true,
                 tr("Полное наименование инструмента"));
    t->addColumn(QStringLiteral("sectype"), Text, 1, false, tr("Тип"), true,
                 tr("Тип инструмента: F — фьючерс, O — опцион"));
    t->addColumn(QStringLiteral("option_type"), Text, 1, false, tr("Тип опциона"), true,
                 tr("C — опцион колл, P — опцион пут; пусто для фьючерса"));
    t->addColumn(QStringLiteral("base_code"), Text, 20, false, tr("Базовый актив"), true,
                 tr("Код базового актива"));
    t->addColumn(QStringLiteral("strike"), Dec, PriceScale, true, tr("Страйк"), true,
                 tr("Цена исполнения опциона"));
    t->addColumn(QStringLiteral("expdate"), Date, 0, true, tr("Исполнение"), true,
                 tr("Дата исполнения: последний день торгов, торги заканчиваются в 19:00"));
    t->addColumn(QStringLiteral("decimals"), Int, 0, false, tr("Точность"), false,
                 tr("Число знаков после запятой в цене"));
    t->addColumn(QStringLiteral("price_step"), Dec, PriceScale, false, tr("Шаг цены"), true,
                 tr("Минимальный шаг цены"));
    t->addColumn(QStringLiteral("volat"), Dec, VolatScale, true, tr("Волатильность"), true,
                 tr("Теоретическая волатильность опциона по улыбке биржи, %"));
    t->addColumn(QStringLiteral("theor_price"), Dec, PriceScale, true, tr("Теор. цена"), true,
                 tr("Теоретическая цена инструмента"));
    t->addColumn(QStringLiteral("delta"), Dec, DeltaScale, true, tr("Дельта"), true,
                 tr("Изменение цены опциона при росте цены базового актива на единицу"));
    t->addColumn(QStringLiteral("gamma"), Dec, GammaScale, true, tr("Гамма"), true,
                 tr("Изменение дельты опциона при росте цены базового актива на единицу"));
    t->addColumn(QStringLiteral("vega"), Dec, VegaScale, true, tr("Вега"), true,
                 tr("Изменение цены опциона при росте волатильности на один пункт"));
    t->addColumn(QStringLiteral("theta"), Dec, ThetaScale, true, tr("Тета"), true,
                 tr("Изменение цены опциона за один календарный день"));
    t->addColumn(QStringLiteral("bid"), Dec, PriceScale, true, tr("Покупка"), true,
                 tr("Лучшая цена спроса"));
    t->addColumn(QStringLiteral("ask"), Dec, PriceScale, true, tr("Продажа"), true,
                 tr("Лучшая цена предложения"));
    t->addColumn(QStringLiteral("price"), Dec, PriceScale, true, tr("Последняя"), true,
                 tr("Цена последней сделки"));
    t->addColumn(QStringLiteral("cur_kotir_real"), Dec, PriceScale, true, tr("Текущая цена"), true,
                 tr("Текущая котировка инструмента"));
    t->addColumn(QStringLiteral("cur_kotir"), Dec, PriceScale, true, tr("Котировка"), false,
                 tr("Котировка инструмента для расчётов"));
    t->addColumn(QStringLiteral("old_kotir"), Dec, PriceScale, true, tr("Расчётная цена"), true,
                 tr("Расчётная цена предыдущей торговой сессии"));
    t->addColumn(QStringLiteral("volat_min"), Dec, VolatLimitScale, true, tr("Мин. волат."), false,
                 tr("Нижняя граница волатильности опциона, %"));
    t->addColumn(QStringLiteral("volat_max"), Dec, VolatLimitScale, true, tr("Макс. волат."), false,
                 tr("Верхняя граница волатильности опциона, %"));
    t->addColumn(QStringLiteral("base_isin_id"), Int, 0, true, tr("Серия"), false,
                 tr("Код серии опционов: ключ коэффициентов улыбки волатильности"));
    t->addColumn(QStringLiteral("main_sec_id"), Int64, 0, true, tr("Базовый фьючерс"), false,
                 tr("Код инструмента базового фьючерса опциона"));
    t->addColumn(IsinId, Int, 0, true, tr("Код выпуска"), false, tr("Код выпуска инструмента"));
    t->addColumn(QStringLiteral("europe"), Int, 0, true, tr("Европейский"), false,
                 tr("1 — опцион европейского типа"));
    t->addColumn(QStringLiteral("lasttime"), Date, 0, true, tr("Время"), true,
                 tr("Время последней сделки или пересчёта котировок инструмента"));
    t->addColumn(QStringLiteral("lot_size"), Int, 0, false, tr("Лот"), false,
                 tr("Размер лота, контрактов"));
    return t;
}

Table* MarketTables::createPositions(QObject* parent)
{
    auto* t = new Table(positionsName(), tr("Позиции"), parent);
    t->addColumn(Account, FieldType::String, AccountLength, false, tr("Счёт"), true,
                 tr("Торговый счёт"));
    t->addColumn(StockId, FieldType::Integer, 0, false, tr("Биржа"), false,
                 tr("Код биржи (1 — срочный рынок)"));
    t->addColumn(BoardId, FieldType::Integer, 0, false, tr("Режим"), false,
                 tr("Код режима торгов (1 — фьючерсы, 14 — опционы, 2 — адресные сделки)"));
    t->addColumn(SecId, FieldType::Integer64, 0, false, tr("Код инструмента"), false,
                 tr("Уникальный код инструмента в торговой системе"));
    t->setMasterIndex(MasterIndex_Struct<ucharn<AccountLength>, int, int, __int64>::create(
        t, {Account, StockId, BoardId, SecId}));
    t->addColumn(QStringLiteral("sec_name"), FieldType::String, 40, false, tr("Инструмент"), true,
                 tr("Краткое наименование инструмента"));
    t->addColumn(QStringLiteral("sectype"), FieldType::String, 1, false, tr("Тип"), true,
                 tr("Тип инструмента: F — фьючерс, O — опцион"));
    t->addColumn(QStringLiteral("pos"), FieldType::Integer64, 0, true, tr("Позиция"), true,
                 tr("Чистая позиция, контрактов: больше нуля — длинная, меньше — короткая"));
    t->addColumn(QStringLiteral("waprice"), FieldType::Decimal, PriceScale, true, tr("Ср. цена"),
                 true, tr("Средневзвешенная цена открытия позиции"));
    t->addColumn(QStringLiteral("expdate"), FieldType::DateTime, 0, true, tr("Исполнение"), true,
                 tr("Дата исполнения инструмента"));
    return t;
}

Table* MarketTables::createVolatCoeff(QObject* parent)
{
    auto* t = new Table(volatCoeffName(), tr("Коэффициенты улыбки волатильности"), parent);
    t->addColumn(IsinId, FieldType::Integer, 0, false, tr("Серия"), true, tr("Код серии опционов"));
    t->setMasterIndex(MasterIndex_Struct<int>::create(t, {IsinId}));
    const struct
    {
        const char* name;
        const char* description;
    } coefficients[] = {
        {"a", QT_TR_NOOP("Коэффициент a улыбки: уровень волатильности в центре, %")},
        {"b", QT_TR_NOOP("Коэффициент b улыбки: подъём крыльев, %")},
        {"c", QT_TR_NOOP("Коэффициент c улыбки: крутизна подъёма крыльев")},
        {"d", QT_TR_NOOP("Коэффициент d улыбки: наклон, %")},
        {"e", QT_TR_NOOP("Коэффициент e улыбки: насыщение наклона")},
        {"s", QT_TR_NOOP("Коэффициент s улыбки: сдвиг центра")},
    };
    for (const auto& coefficient : coefficients)
        t->addColumn(QLatin1String(coefficient.name), FieldType::Decimal, CoeffScale, false,
                     QLatin1String(coefficient.name), true, tr(coefficient.description));
    return t;
}
