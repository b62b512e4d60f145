#include "indexiterative.h"

IndexIterative::~IndexIterative() = default;
