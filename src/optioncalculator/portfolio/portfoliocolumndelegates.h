#pragma once

class PortfolioModel;

// Puts the cell delegates on the columns of a portfolio model that show more than a plain
// field of its table: market data of the row's security, the position's Greeks, the kind
// of security, the expiry and the days to it, and on the model portfolio its model values.
// A column the model lacks, or one that has a delegate already, is left alone, so that the
// models call this again as they add columns.
class PortfolioColumnDelegates
{
public:
    static void install(PortfolioModel* model);
};
