#pragma once

#include "database_global.h"

#include <QDate>
#include <QDateTime>
#include <QMetaType>
#include <QString>
#include <QVariant>

class QDataStream;

// A point of the terminal's local wall-clock time: milliseconds since 1970-01-01 00:00 as if
// that wall clock were UTC. datetime(QDate) is that date at 00:00, and adding 68,400,000 ms
// gives 19:00 of the same day in every time zone. 0 is the null value and compares below
// every real date.
class DATABASE_EXPORT datetime
{
public:
    static constexpr qint64 MsecsPerDay = 86400000LL;

    constexpr datetime() : m_msecs(0) {}
    constexpr explicit datetime(qint64 msecs) : m_msecs(msecs) {}
    explicit datetime(const QDate& date);
    explicit datetime(const QDateTime& dateTime); // its date and time of day as shown
    // "dd.MM.yyyy[ hh:mm[:ss[.zzz]]]" or ISO "yyyy-MM-dd[ Thh:mm[:ss[.zzz]]]"; null otherwise.
    explicit datetime(const QString& text);

    static datetime now();

    bool isNull() const { return m_msecs == 0; }
    qint64 msecs() const { return m_msecs; }
    QDate getDate() const;         // invalid for null
    QDateTime getDateTime() const; // same wall-clock fields, invalid for null
    // "dd.MM.yyyy hh:mm:ss", or "dd.MM.yyyy" at midnight; empty for null.
    QString toString() const;
    QVariant toVariant() const;
    int compare(const datetime& other) const
    {
        return m_msecs < other.m_msecs ? -1 : (m_msecs > other.m_msecs ? 1 : 0);
    }

    datetime operator+(qint64 msecs) const { return datetime(m_msecs + msecs); }
    datetime operator-(qint64 msecs) const { return datetime(m_msecs - msecs); }
    qint64 operator-(const datetime& other) const { return m_msecs - other.m_msecs; }
    datetime& operator+=(qint64 msecs)
    {
        m_msecs += msecs;
        return *this;
    }
    bool operator==(const datetime& o) const { return m_msecs == o.m_msecs; }
    bool operator!=(const datetime& o) const { return m_msecs != o.m_msecs; }
    bool operator<(const datetime& o) const { return m_msecs < o.m_msecs; }
    bool operator<=(const datetime& o) const { return m_msecs <= o.m_msecs; }
    bool operator>(const datetime& o) const { return m_msecs > o.m_msecs; }
    bool operator>=(const datetime& o) const { return m_msecs >= o.m_msecs; }

    // A datetime from a variant holding a datetime, a QDate, a QDateTime or a text.
    static datetime fromVariant(const QVariant& value);
    static int metatypeId();

private:
    qint64 m_msecs;
};

Q_DECLARE_METATYPE(datetime)

DATABASE_EXPORT QDataStream& operator<<(QDataStream& out, const datetime& value);
DATABASE_EXPORT QDataStream& operator>>(QDataStream& in, datetime& value);
