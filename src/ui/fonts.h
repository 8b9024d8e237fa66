#pragma once

#include <QFont>
#include <QString>

#include <array>

/// The three typefaces of the panels, bundled with the program and registered before any view is built.
namespace Fonts
{
/// One bundled face: the name the design calls it by, the family and weight Qt reports once it is registered.
struct Face {
    QString postScriptName;
    QString family;
    QFont::Weight weight;
    QString resource;
};

/// "DotGothic16-Regular": pixel-style display face for titles, read-outs and badges.
const Face &display();
/// "RoundedMplus1c-ExtraBold": heavy face for buttons, labels and names.
const Face &heavy();
/// "RoundedMplus1c-Medium": body face for explanations and captions.
const Face &body();
std::array<const Face *, 3> all();

/// Adds the three faces to the application's font database; safe to call more than once.
/// Returns false when any face failed to load (the views then fall back to the system font).
bool registerAll();

/// `face` at `size` device-independent pixels (the design's points); fractional sizes such as 12.5 are kept.
QFont font(const Face &face, qreal size);
} // namespace Fonts
