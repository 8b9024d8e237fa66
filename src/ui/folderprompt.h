#pragma once

#include "fleetaccess.h"

/// The folder chooser and the two-button alert of a folder grant, as Qt dialogs.
class DialogFolderPrompt : public FolderPrompt
{
public:
    std::optional<QString> chooseFolder(const QString &message, const QString &confirmTitle, const QString &startFolder) override;
    bool ask(const QString &message, const QString &informativeText, const QStringList &buttons) override;
};
