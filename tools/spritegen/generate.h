#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

/// Turns the art sources into the files the program ships: the 105 sprites, the tray icon and the
/// application icons, and on request a contact sheet of every outfit and tier at display size.
namespace SpriteGen
{
/// Outfit folders, in the order the menus list them.
const QStringList &outfits();

/// Writes Sprites/<outfit>/t0–t6.webp, Sprites/menubar.png and icons/… below `outDir`.
/// Returns false with the reason in `error` when a source is wrong or a file cannot be written.
bool writeAll(const QString &artDir, const QString &outDir, QString *error);

/// Every outfit × tier at 250 px high on the settings window's desk background.
QImage contactSheet(const QString &artDir, QString *error);

/// Files below the output folder that writeAll() produces, relative to it.
QStringList outputFiles();
} // namespace SpriteGen
