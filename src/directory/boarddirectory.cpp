#include "boarddirectory.h"

namespace {

struct Board
{
    int stockId;
    int boardId;
    bool anonymous;
};

// Stock 1 is the derivatives market.
constexpr Board Boards[] = {
    {1, 1, true},  // futures
    {1, 14, true}, // options
    {1, 2, false}, // negotiated deals
};

} // namespace

BoardDirectory& BoardDirectory::i()
{
    static BoardDirectory directory;
    return directory;
}

BoardDirectory::Kind BoardDirectory::kindOf(int stockId, int boardId) const
{
    for (const Board& b : Boards) {
        if (b.stockId == stockId && b.boardId == boardId)
            return b.anonymous ? Kind::Anonymous : Kind::Address;
    }
    return Kind::Unknown;
}

bool BoardDirectory::isAddressById(int stockId, int boardId) const
{
    return kindOf(stockId, boardId) == Kind::Address;
}

bool BoardDirectory::isAnonymById(int stockId, int boardId) const
{
    return kindOf(stockId, boardId) == Kind::Anonymous;
}
