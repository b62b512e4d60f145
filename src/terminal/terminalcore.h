#pragma once

#include "c_api/icore.h"

// The terminal's core: ICore with the host's dialogs and status bar behind it. Made once at
// start, it becomes ICore::instance(); showOptions() opens the OptionsDialog, view settings
// the ViewSettingsDialog, and status messages go to the status bar of the main window.
class TerminalCore : public ICore
{
    Q_OBJECT

public:
    explicit TerminalCore(QObject* parent = nullptr);
    ~TerminalCore() override;
};
