#include "theme.h"

#include <QQmlEngine>

Theme *Theme::instance()
{
    static Theme *theme = new Theme;
    return theme;
}

Theme *Theme::create(QQmlEngine *, QJSEngine *)
{
    // C++ keeps ownership: the same palette serves every engine for the life of the process.
    QQmlEngine::setObjectOwnership(instance(), QQmlEngine::CppOwnership);
    return instance();
}
