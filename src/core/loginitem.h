#pragma once

#include <QString>

#include <optional>

/// The open-at-login registration of the desktop app: an XDG autostart entry. The registration
/// itself is the only state.
class LoginItem
{
public:
    /// The running user's registration of the installed program.
    LoginItem();
    /// A registration kept in `folder` that starts `executable`; tests hand in temporary ones.
    LoginItem(QString folder, QString executable);

    /// True when the registration exists, is ours and is not switched off.
    bool isEnabled() const;
    /// Registers or unregisters; the reason when that failed.
    std::optional<QString> setEnabled(bool on);

    /// The program the entry starts: the running yuzuha if it is an installed one, else "yuzuha" on the PATH.
    static QString installedExecutable();

private:
    QString m_folder;
    QString m_executable;
};
