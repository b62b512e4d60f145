#include "commandline.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

#include <limits>

namespace {

struct OptionSpec
{
    const char* name;
    const char* valueName; // null for a flag
    const char* description;
};

// One table for parsing and for the help text, so that the two never disagree.
const OptionSpec Specs[] = {
    {"config-dir", QT_TRANSLATE_NOOP("CommandLine", "ПАПКА"),
     QT_TRANSLATE_NOOP("CommandLine", "папка настроек и рабочего пространства")},
    {"plugin-dir", QT_TRANSLATE_NOOP("CommandLine", "ПАПКА"),
     QT_TRANSLATE_NOOP("CommandLine", "папка модулей (по умолчанию plugins рядом с программой)")},
    {"market", QT_TRANSLATE_NOOP("CommandLine", "sim|csv:ПАПКА"),
     QT_TRANSLATE_NOOP("CommandLine", "источник рынка: имитация биржи или снимок из CSV-файлов")},
    {"seed", QT_TRANSLATE_NOOP("CommandLine", "N"),
     QT_TRANSLATE_NOOP("CommandLine", "начальное число имитации биржи")},
    {"tick-rate", QT_TRANSLATE_NOOP("CommandLine", "N"),
     QT_TRANSLATE_NOOP("CommandLine",
                       "пакетов изменений рынка в секунду (1-1000, по умолчанию 5)")},
    {"large", nullptr,
     QT_TRANSLATE_NOOP("CommandLine", "большой рынок: десятки тысяч инструментов")},
    {"open", QT_TRANSLATE_NOOP("CommandLine", "ВИД:КЛЮЧ"),
     QT_TRANSLATE_NOOP("CommandLine", "открыть окно вида с ключом (можно повторять)")},
    {"screenshot", QT_TRANSLATE_NOOP("CommandLine", "ФАЙЛ"),
     QT_TRANSLATE_NOOP("CommandLine", "сохранить снимок главного окна в файл")},
    {"screenshot-delay", QT_TRANSLATE_NOOP("CommandLine", "МС"),
     QT_TRANSLATE_NOOP("CommandLine", "задержка снимка после запуска, мс")},
    {"quit-after", QT_TRANSLATE_NOOP("CommandLine", "МС"),
     QT_TRANSLATE_NOOP("CommandLine", "завершить работу через заданное время, мс")},
    {"list-plugins", nullptr,
     QT_TRANSLATE_NOOP("CommandLine", "показать модули и их сведения и выйти")},
    {"help", nullptr, QT_TRANSLATE_NOOP("CommandLine", "показать эту справку и выйти")},
};

const OptionSpec* findSpec(const QString& name)
{
    for (const OptionSpec& spec : Specs) {
        if (name == QLatin1String(spec.name))
            return &spec;
    }
    return nullptr;
}

QString dashed(const QString& name)
{
    return QStringLiteral("--") + name;
}

// The option an argument names, without dashes and a "=value" part; empty for a value.
QString optionNameOf(const QString& argument)
{
    if (!argument.startsWith(QLatin1Char('-')) || argument.size() < 2)
        return QString();
    QString name = argument.mid(argument.startsWith(QLatin1String("--")) ? 2 : 1);
    return name.section(QLatin1Char('='), 0, 0);
}

// Why QCommandLineParser refused the arguments, in the terminal's words.
QString describeParseFailure(const QCommandLineParser& parser, const QStringList& arguments)
{
    const QStringList unknown = parser.unknownOptionNames();
    if (!unknown.isEmpty())
        return CommandLine::tr("Неизвестный параметр %1 (список параметров: --help)")
            .arg(dashed(unknown.first()));
    for (int i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--"))
            break;
        const OptionSpec* spec = findSpec(optionNameOf(argument));
        if (!spec)
            continue;
        if (!spec->valueName && argument.contains(QLatin1Char('=')))
            return CommandLine::tr("Параметр %1 не принимает значения").arg(dashed(spec->name));
        if (spec->valueName && !argument.contains(QLatin1Char('=')) && i == arguments.size() - 1)
            return CommandLine::tr("Не указано значение параметра %1").arg(dashed(spec->name));
    }
    return CommandLine::tr("Ошибка в командной строке: %1").arg(parser.errorText());
}

QString badValue(const char* option, const QString& value, const QString& expected)
{
    return CommandLine::tr("Неверное значение параметра %1: «%2» (%3)")
        .arg(dashed(QLatin1String(option)), value, expected);
}

// Digits only: no sign, no spaces, no exponent.
bool isDigits(const QString& text)
{
    for (const QChar c : text) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return false;
    }
    return !text.isEmpty();
}

// A whole number in [min, max] written with digits only.
bool readNumber(const QString& text, qint64 min, qint64 max, qint64* out)
{
    if (!isDigits(text) || text.size() > 18)
        return false;
    bool ok = false;
    const qint64 value = text.toLongLong(&ok);
    if (!ok || value < min || value > max)
        return false;
    *out = value;
    return true;
}

} // namespace

CommandLine::Result CommandLine::parse(const QStringList& arguments)
{
    Result result;
    const auto fail = [&result](const QString& error) {
        result.action = Result::Error;
        result.error = error;
        result.exitCode = UsageErrorExitCode;
        return result;
    };

    QCommandLineParser parser;
    // "-seed" reads as "--seed" rather than as the letters s, e, e and d.
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    for (const OptionSpec& spec : Specs) {
        QStringList names{QLatin1String(spec.name)};
        if (qstrcmp(spec.name, "help") == 0)
            names << QStringLiteral("h");
        parser.addOption(spec.valueName
                             ? QCommandLineOption(names, tr(spec.description), tr(spec.valueName))
                             : QCommandLineOption(names, tr(spec.description)));
    }
    // Without a program name the parser would take the first option for it.
    const QStringList argv =
        arguments.isEmpty() ? QStringList{QStringLiteral("optcalc-terminal")} : arguments;
    if (!parser.parse(argv))
        return fail(describeParseFailure(parser, argv));
    if (!parser.positionalArguments().isEmpty())
        return fail(tr("Лишний аргумент «%1» (список параметров: --help)")
                        .arg(parser.positionalArguments().first()));
    if (parser.isSet(QStringLiteral("help"))) {
        result.action = Result::ShowHelp;
        return result;
    }

    TerminalOptions& options = result.options;
    const auto folder = [&](const char* name, QString* out) {
        if (!parser.isSet(QLatin1String(name)))
            return true;
        *out = parser.value(QLatin1String(name));
        return !out->isEmpty();
    };
    if (!folder("config-dir", &options.configDir))
        return fail(tr("Не указана папка в параметре --config-dir"));
    if (!folder("plugin-dir", &options.pluginDir))
        return fail(tr("Не указана папка в параметре --plugin-dir"));

    if (parser.isSet(QStringLiteral("market"))) {
        const QString market = parser.value(QStringLiteral("market"));
        if (market == QLatin1String("sim")) {
            options.market = TerminalOptions::Market::Simulated;
        } else if (market.startsWith(QLatin1String("csv:")) && market.size() > 4) {
            options.market = TerminalOptions::Market::Csv;
            options.csvDir = market.mid(4);
        } else {
            return fail(badValue("market", market, tr("ожидается sim или csv:ПАПКА")));
        }
    }

    qint64 number = 0;
    if (parser.isSet(QStringLiteral("seed"))) {
        const QString text = parser.value(QStringLiteral("seed"));
        bool ok = false;
        const quint64 seed = text.toULongLong(&ok);
        if (!ok || !isDigits(text))
            return fail(badValue("seed", text, tr("ожидается целое неотрицательное число")));
        options.seed = seed;
    }
    if (parser.isSet(QStringLiteral("tick-rate"))) {
        const QString text = parser.value(QStringLiteral("tick-rate"));
        if (!readNumber(text, 1, 1000, &number))
            return fail(badValue("tick-rate", text, tr("ожидается целое число от 1 до 1000")));
        options.tickRate = int(number);
    }
    options.large = parser.isSet(QStringLiteral("large"));

    const QStringList opens = parser.values(QStringLiteral("open"));
    for (const QString& open : opens) {
        const int colon = open.indexOf(QLatin1Char(':'));
        if (colon <= 0)
            return fail(badValue("open", open, tr("ожидается ВИД:КЛЮЧ")));
        options.open.append(OpenRequest{open.left(colon), open.mid(colon + 1)});
    }

    const int maxMs = std::numeric_limits<int>::max();
    if (parser.isSet(QStringLiteral("screenshot"))) {
        options.screenshotFile = parser.value(QStringLiteral("screenshot"));
        if (options.screenshotFile.isEmpty())
            return fail(tr("Не указан файл в параметре --screenshot"));
    }
    if (parser.isSet(QStringLiteral("screenshot-delay"))) {
        const QString text = parser.value(QStringLiteral("screenshot-delay"));
        if (!readNumber(text, 0, maxMs, &number))
            return fail(badValue("screenshot-delay", text, tr("ожидается число миллисекунд")));
        if (options.screenshotFile.isEmpty())
            return fail(tr("Параметр --screenshot-delay задан без --screenshot"));
        options.screenshotDelayMs = int(number);
    }
    if (parser.isSet(QStringLiteral("quit-after"))) {
        const QString text = parser.value(QStringLiteral("quit-after"));
        if (!readNumber(text, 0, maxMs, &number))
            return fail(badValue("quit-after", text, tr("ожидается число миллисекунд")));
        options.quitAfterMs = int(number);
    }
    options.listPlugins = parser.isSet(QStringLiteral("list-plugins"));
    return result;
}

QString CommandLine::helpText()
{
    QString text = tr("Использование: optcalc-terminal [параметры]\n\nПараметры:\n");
    for (const OptionSpec& spec : Specs) {
        QString name = dashed(QLatin1String(spec.name));
        if (spec.valueName)
            name += QLatin1Char(' ') + tr(spec.valueName);
        text += QStringLiteral("  %1  %2\n").arg(name, -28).arg(tr(spec.description));
    }
    return text;
}
