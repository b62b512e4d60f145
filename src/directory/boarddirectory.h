#pragma once

#include "directory_global.h"

// The trading boards of the terminal's markets and how deals are made on them: anonymous
// boards trade through the order book, address boards by negotiated deals between named
// parties. A board that is not listed is neither.
class DIRECTORY_EXPORT BoardDirectory
{
public:
    static BoardDirectory& i();

    bool isAddressById(int stockId, int boardId) const;
    bool isAnonymById(int stockId, int boardId) const;

private:
    BoardDirectory() = default;
    Q_DISABLE_COPY(BoardDirectory)

    enum class Kind { Unknown, Anonymous, Address };
    Kind kindOf(int stockId, int boardId) const;
};
