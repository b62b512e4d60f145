#pragma once

#include "pluginloader.h"

#include <QDialog>

// "Модули": the plug-ins the terminal found, loaded or not, and why not.
class PluginsDialog : public QDialog
{
    Q_OBJECT

public:
    enum Column { NameColumn, VersionColumn, VendorColumn, StateColumn, FileColumn, ColumnCount };

    PluginsDialog(const QList<PluginRecord>& records, QWidget* parent = nullptr);
    ~PluginsDialog() override;
};
