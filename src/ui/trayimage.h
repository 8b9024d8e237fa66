#pragma once

#include <QIcon>
#include <QImage>
#include <QMap>
#include <QString>

#include <array>
#include <optional>

/// Her tray picture, drawn for the size the panel asks for: the face made for that size (or the largest one
/// that fits, blown up by a whole factor and centred) and, while a session is followed, its percentage on an
/// ink tag below her chin in a 3 × 5 pixel typeface, so face and number both read at 16 pixels.
namespace TrayImage
{
/// The sizes offered to trays that take a list of pictures; the panel takes the one it needs.
inline constexpr std::array<int, 7> sizes { 16, 22, 24, 32, 36, 48, 64 };

/// Her faces by width: "Sprites/tray14.png" (the face over the tag at 16), "tray16.png", "tray24.png",
/// "tray32.png" and "menubar.png" (36) below `root`; missing files are left out.
QMap<int, QImage> faces(const QString &root);

/// A `size` × `size` picture from `faces`, with `percent` on its tag when there is one.
QImage draw(const QMap<int, QImage> &faces, std::optional<int> percent, int size);

/// The tray item's icon: `draw` at whatever size, in device pixels, it is asked for.
QIcon icon(const QMap<int, QImage> &faces, std::optional<int> percent);
} // namespace TrayImage
