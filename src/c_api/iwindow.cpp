#include "iwindow.h"

IWindow::~IWindow() = default;
