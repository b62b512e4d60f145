#include "datetime.h"

#include <QDataStream>
#include <QLocale>
#include <QRegularExpression>

namespace {

constexpr qint64 EpochJulianDay = 2440588; // 1970-01-01
// About 270,000 years either side: far beyond any real date, far from 64-bit overflow.
constexpr qint64 MaxDays = 100000000;

// Wall-clock fields as milliseconds since 1970-01-01 00:00 read as UTC.
qint64 fromFields(const QDate& date, const QTime& time)
{
    if (!date.isValid())
        return 0;
    const qint64 days = date.toJulianDay() - EpochJulianDay;
    if (days > MaxDays || days < -MaxDays)
        return 0;
    return days * datetime::MsecsPerDay + (time.isValid() ? time.msecsSinceStartOfDay() : 0);
}

// Days since 1970-01-01 and milliseconds into that day, also for times before 1970.
void split(qint64 msecs, qint64* days, int* msecsOfDay)
{
    qint64 d = msecs / datetime::MsecsPerDay;
    qint64 rest = msecs % datetime::MsecsPerDay;
    if (rest < 0) {
        rest += datetime::MsecsPerDay;
        --d;
    }
    *days = d;
    *msecsOfDay = int(rest);
}

int fractionToMsecs(const QString& digits)
{
    // ".5" is half a second, as in any decimal fraction.
    return digits.isEmpty() ? 0 : digits.leftJustified(3, QLatin1Char('0')).toInt();
}

qint64 parse(const QString& text)
{
    static const QRegularExpression dotted(
        QStringLiteral("^([0-9]{1,2})\\.([0-9]{1,2})\\.([0-9]{4})"
                       "(?:\\s+([0-9]{1,2}):([0-9]{2})(?::([0-9]{2})(?:\\.([0-9]{1,3}))?)?)?$"));
    static const QRegularExpression iso(QStringLiteral(
        "^([0-9]{4})-([0-9]{2})-([0-9]{2})"
        "(?:(?:T|\\s+)([0-9]{2}):([0-9]{2})(?::([0-9]{2})(?:\\.([0-9]{1,3}))?)?)?$"));

    const QString t = text.trimmed();
    int year = 0;
    int month = 0;
    int day = 0;
    QRegularExpressionMatch m = dotted.match(t);
    if (m.hasMatch()) {
        day = m.captured(1).toInt();
        month = m.captured(2).toInt();
        year = m.captured(3).toInt();
    } else {
        m = iso.match(t);
        if (!m.hasMatch())
            return 0;
        year = m.captured(1).toInt();
        month = m.captured(2).toInt();
        day = m.captured(3).toInt();
    }
    const QDate date(year, month, day);
    if (!date.isValid())
        return 0;
    QTime time(0, 0);
    if (m.capturedLength(4) > 0) {
        time = QTime(m.captured(4).toInt(), m.captured(5).toInt(), m.captured(6).toInt(),
                     fractionToMsecs(m.captured(7)));
        if (!time.isValid())
            return 0;
    }
    return fromFields(date, time);
}

} // namespace

datetime::datetime(const QDate& date) : m_msecs(fromFields(date, QTime(0, 0))) {}

datetime::datetime(const QDateTime& dateTime)
    : m_msecs(dateTime.isValid() ? fromFields(dateTime.date(), dateTime.time()) : 0)
{
}

datetime::datetime(const QString& text) : m_msecs(parse(text)) {}

datetime datetime::now()
{
    return datetime(QDateTime::currentDateTime());
}

QDate datetime::getDate() const
{
    if (isNull())
        return QDate();
    qint64 days = 0;
    int ms = 0;
    split(m_msecs, &days, &ms);
    return QDate::fromJulianDay(EpochJulianDay + days);
}

QDateTime datetime::getDateTime() const
{
    if (isNull())
        return QDateTime();
    qint64 days = 0;
    int ms = 0;
    split(m_msecs, &days, &ms);
    const QDate date = QDate::fromJulianDay(EpochJulianDay + days);
    if (!date.isValid())
        return QDateTime();
    const QTime time = QTime::fromMSecsSinceStartOfDay(ms);
    const QDateTime local(date, time, Qt::LocalTime);
    if (local.isValid() && local.date() == date && local.time() == time)
        return local;
    // The wall clock skipped this time (a switch to summer time). Keep the fields as they
    // are, with the offset in force before the switch, rather than an invalid value.
    const int offset = QDateTime(date.addDays(-1), time, Qt::LocalTime).offsetFromUtc();
    return QDateTime(date, time, Qt::OffsetFromUTC, offset);
}

QString datetime::toString() const
{
    if (isNull())
        return QString();
    qint64 days = 0;
    int ms = 0;
    split(m_msecs, &days, &ms);
    const QDate date = QDate::fromJulianDay(EpochJulianDay + days);
    if (!date.isValid())
        return QString();
    // The C locale: a system locale may write other digits.
    const QLocale c = QLocale::c();
    const QString dateText = c.toString(date, QStringLiteral("dd.MM.yyyy"));
    if (ms == 0)
        return dateText;
    return dateText + QLatin1Char(' ') +
           c.toString(QTime::fromMSecsSinceStartOfDay(ms), QStringLiteral("hh:mm:ss"));
}

QVariant datetime::toVariant() const
{
    return QVariant::fromValue(*this);
}

datetime datetime::fromVariant(const QVariant& value)
{
    const int type = value.userType();
    if (type == metatypeId())
        return value.value<datetime>();
    switch (type) {
    case QMetaType::QDate:
        return datetime(value.toDate());
    case QMetaType::QDateTime:
        return datetime(value.toDateTime());
    case QMetaType::QString:
        return datetime(value.toString());
    default:
        return datetime();
    }
}

int datetime::metatypeId()
{
    return qMetaTypeId<datetime>();
}

QDataStream& operator<<(QDataStream& out, const datetime& value)
{
    out << qint64(value.msecs());
    return out;
}

QDataStream& operator>>(QDataStream& in, datetime& value)
{
    qint64 msecs = 0;
    in >> msecs;
    value = in.status() == QDataStream::Ok ? datetime(msecs) : datetime();
    return in;
}

namespace {

// At load, so that settings files and queued connections know the type by name before
// anybody asks for it.
void registerDatetimeType()
{
    qRegisterMetaType<datetime>("datetime");
    qRegisterMetaTypeStreamOperators<datetime>("datetime");
    QMetaType::registerComparators<datetime>();
    QMetaType::registerConverter<datetime, QDateTime>(&datetime::getDateTime);
    QMetaType::registerConverter<datetime, QDate>(&datetime::getDate);
    QMetaType::registerConverter<datetime, QString>(&datetime::toString);
}

} // namespace

Q_CONSTRUCTOR_FUNCTION(registerDatetimeType)
