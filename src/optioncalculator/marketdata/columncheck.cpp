#include "columncheck.h"

#include <QtGlobal>

QByteArray ColumnCheck::unsetPositions(const QVector<int>& columns)
{
    QByteArray positions;
    for (int i = 0; i < columns.size(); ++i) {
        if (columns.at(i) < 0) {
            positions += QByteArray::number(i);
            positions += ' ';
        }
    }
    return positions;
}

void ColumnCheck::verify(const QVector<int>& columns, const char* file, int line)
{
    const QByteArray positions = unsetPositions(columns);
    if (positions.isEmpty())
        return;
    qFatal("ASSERT failure in CHECK_COLUMNS_FUNC!\nUnsetted struct members found! Members "
           "position: %s\nFile %s, Line %d",
           positions.constData(), file, line);
}
