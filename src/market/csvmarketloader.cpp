#include "csvmarketloader.h"

#include "markettables.h"

#include "database/masterindexcolumnpure.h"
#include "database/table.h"
#include "database/tableupdater.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QTextCodec>
#include <QVector>

namespace {

const QChar Separator = QLatin1Char(';');
// Past this many bad lines a file is not read further: it is likely not such a file at all.
constexpr int MaxErrorsPerFile = 20;

QString located(const QString& file, int line, const QString& reason)
{
    return QStringLiteral("%1:%2: %3").arg(file, QString::number(line), reason);
}

// A date, or a date and a time of day, as the snapshot files write them.
bool parseDatetime(const QString& text, datetime* out)
{
    const QDate date = QDate::fromString(text.left(10), QStringLiteral("yyyy-MM-dd"));
    if (!date.isValid() || (text.size() > 10 && text.size() < 16))
        return false;
    qint64 msecs = 0;
    if (text.size() > 10) {
        const QChar gap = text.at(10);
        if (gap != QLatin1Char(' ') && gap != QLatin1Char('T'))
            return false;
        const QString rest = text.mid(11);
        QTime time;
        for (const char* format : {"hh:mm", "hh:mm:ss", "hh:mm:ss.zzz"}) {
            time = QTime::fromString(rest, QLatin1String(format));
            if (time.isValid())
                break;
        }
        if (!time.isValid())
            return false;
        msecs = time.msecsSinceStartOfDay();
    }
    *out = datetime(date) + msecs;
    return true;
}

} // namespace

CsvMarketLoader::CsvMarketLoader(MarketTables* tables, QObject* parent) : MarketFeed(tables, parent)
{
}

CsvMarketLoader::~CsvMarketLoader() = default;

QString CsvMarketLoader::securitiesFileName()
{
    return QStringLiteral("securities.csv");
}

QString CsvMarketLoader::positionsFileName()
{
    return QStringLiteral("positions.csv");
}

QString CsvMarketLoader::volatCoeffFileName()
{
    return QStringLiteral("volat_coeff.csv");
}

bool CsvMarketLoader::load(const QString& directory)
{
    m_errors.clear();
    MarketTables* t = tables();
    if (!t)
        return false;
    const QDir dir(directory);
    // Each table on its own: a fault in one file keeps the others.
    const bool securities = loadFile(t->securities(), dir.filePath(securitiesFileName()));
    const bool positions = loadFile(t->positions(), dir.filePath(positionsFileName()));
    const bool coefficients = loadFile(t->volatCoeff(), dir.filePath(volatCoeffFileName()));
    return securities && positions && coefficients;
}

bool CsvMarketLoader::loadTable(Table* table, const QString& filePath)
{
    m_errors.clear();
    return loadFile(table, filePath);
}

bool CsvMarketLoader::loadFile(Table* table, const QString& filePath)
{
    if (!table)
        return false;
    QFile file(filePath);
    if (!file.exists()) {
        m_errors << located(filePath, 0, tr("файл не найден"));
        return false;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        m_errors << located(filePath, 0, tr("не удаётся открыть файл"));
        return false;
    }
    QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        m_errors << located(filePath, 0, tr("не удаётся прочитать файл"));
        return false;
    }
    file.close();
    if (content.startsWith("\xEF\xBB\xBF"))
        content.remove(0, 3);
    const QList<QByteArray> lines = content.split('\n');
    QTextCodec* utf8 = QTextCodec::codecForName("UTF-8");
    auto decode = [utf8](QByteArray bytes, bool* ok) {
        if (bytes.endsWith('\r'))
            bytes.chop(1);
        QTextCodec::ConverterState state;
        const QString text = utf8->toUnicode(bytes.constData(), bytes.size(), &state);
        *ok = state.invalidChars == 0 && state.remainingChars == 0;
        return text;
    };

    const int errorsBefore = m_errors.size();
    auto fail = [&](int line, const QString& reason) {
        m_errors << located(filePath, line, reason);
    };

    // The header: which column of the table each cell of a line fills.
    bool ok = true;
    const QString headerText = lines.isEmpty() ? QString() : decode(lines.first(), &ok);
    if (!ok) {
        fail(1, tr("неверная кодировка строки, ожидается UTF-8"));
        return false;
    }
    if (headerText.trimmed().isEmpty()) {
        fail(1, tr("нет строки заголовка"));
        return false;
    }
    QVector<int> columns;
    for (const QString& cell : headerText.split(Separator)) {
        const QString name = cell.trimmed();
        const int column = table->columnIndex(name);
        if (name.isEmpty()) {
            fail(1, tr("пустое имя столбца %1").arg(columns.size() + 1));
            return false;
        }
        if (column < 0) {
            fail(1, tr("неизвестный столбец %1").arg(name));
            return false;
        }
        if (columns.contains(column)) {
            fail(1, tr("столбец %1 указан дважды").arg(name));
            return false;
        }
        columns.append(column);
    }
    const auto* key = dynamic_cast<const MasterIndex_Column_Pure*>(table->masterIndex());
    if (key) {
        for (int column : key->keyColumns()) {
            if (!columns.contains(column)) {
                fail(1, tr("нет ключевого столбца %1").arg(table->columnDef(column).name));
                return false;
            }
        }
    }

    // The rows, apart from the table until every line has been read.
    QVector<Record> rows;
    rows.reserve(lines.size());
    QHash<QString, int> keyLines;
    for (int i = 1; i < lines.size(); ++i) {
        if (m_errors.size() - errorsBefore >= MaxErrorsPerFile) {
            fail(i + 1, tr("слишком много ошибок, файл дальше не читается"));
            break;
        }
        const int lineNumber = i + 1;
        const QString text = decode(lines.at(i), &ok);
        if (!ok) {
            fail(lineNumber, tr("неверная кодировка строки, ожидается UTF-8"));
            continue;
        }
        if (text.trimmed().isEmpty())
            continue;
        const QStringList cells = text.split(Separator);
        if (cells.size() != columns.size()) {
            fail(lineNumber,
                 tr("неверное число полей: %1 вместо %2").arg(cells.size()).arg(columns.size()));
            continue;
        }
        Record row(table);
        QString reason;
        for (int c = 0; c < columns.size() && reason.isEmpty(); ++c) {
            const QString value = cells.at(c).trimmed();
            const TableColumnDef& def = table->columnDef(columns.at(c));
            Field cell = row.data(columns.at(c));
            if (def.type == FieldType::String) {
                if (value.size() > def.length)
                    reason =
                        tr("текст длиннее %1 знаков в столбце %2").arg(def.length).arg(def.name);
                else if (!value.isEmpty() || !def.nullable)
                    cell = value;
                continue;
            }
            if (value.isEmpty()) {
                if (!def.nullable)
                    reason = tr("пустое значение в столбце %1").arg(def.name);
                continue;
            }
            switch (def.type) {
            case FieldType::Integer: {
                const int number = value.toInt(&ok, 10);
                if (ok)
                    cell = number;
                else
                    reason = tr("неверное целое число в столбце %1").arg(def.name);
                break;
            }
            case FieldType::Integer64: {
                const qlonglong number = value.toLongLong(&ok, 10);
                if (ok)
                    cell = static_cast<long long>(number);
                else
                    reason = tr("неверное целое число в столбце %1").arg(def.name);
                break;
            }
            case FieldType::Decimal: {
                static const QRegularExpression pattern(QStringLiteral("^[+-]?\\d+(\\.(\\d+))?$"));
                const QRegularExpressionMatch match = pattern.match(value);
                const decimal number =
                    match.hasMatch() ? decimal::fromAnyString(value, &ok) : decimal::zero;
                if (!match.hasMatch() || !ok)
                    reason = tr("неверное число в столбце %1").arg(def.name);
                else if (match.capturedLength(2) > def.length)
                    // Rounding to the column would change the value the file holds.
                    reason = tr("больше %1 знаков после точки в столбце %2")
                                 .arg(def.length)
                                 .arg(def.name);
                else
                    cell = number;
                break;
            }
            case FieldType::Double: {
                static const QRegularExpression pattern(
                    QStringLiteral("^[+-]?\\d+(\\.\\d+)?([eE][+-]?\\d+)?$"));
                const double number = value.toDouble(&ok);
                if (ok && pattern.match(value).hasMatch())
                    cell = number;
                else
                    reason = tr("неверное число в столбце %1").arg(def.name);
                break;
            }
            case FieldType::DateTime: {
                datetime time;
                if (parseDatetime(value, &time))
                    cell = time;
                else
                    reason = tr("неверная дата в столбце %1").arg(def.name);
                break;
            }
            default:
                reason = tr("столбец %1 не читается из файла").arg(def.name);
            }
        }
        if (!reason.isEmpty()) {
            fail(lineNumber, reason);
            continue;
        }
        if (key) {
            const QString keyText = key->toText(row);
            const int first = keyLines.value(keyText, 0);
            if (first > 0) {
                fail(lineNumber,
                     tr("ключ %1 повторяет строку %2").arg(keyText, QString::number(first)));
                continue;
            }
            keyLines.insert(keyText, lineNumber);
        }
        rows.append(row);
    }
    if (m_errors.size() > errorsBefore)
        return false;

    TableUpdater batch(table);
    table->clear();
    for (const Record& row : qAsConst(rows))
        table->insertRecord(row);
    return true;
}
