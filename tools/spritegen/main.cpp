#include "generate.h"

#include <QCommandLineParser>
#include <QGuiApplication>

#include <cstdio>

using namespace Qt::StringLiterals;

// Builds the sprites and icons from the art sources; the results are committed so the program builds without this.
int main(int argc, char *argv[])
{
    // A build tool: it draws into images only and must run without a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCommandLineParser options;
    options.setApplicationDescription(u"Draws Yuzuha's sprites and icons from the text art sources."_s);
    options.addHelpOption();
    const QCommandLineOption art(u"art"_s, u"Folder of the art sources."_s, u"dir"_s, QStringLiteral(YUZUHA_ART_DIR));
    const QCommandLineOption out(u"out"_s, u"Folder to write Sprites/ and icons/ into."_s, u"dir"_s, QStringLiteral(YUZUHA_RESOURCE_DIR));
    const QCommandLineOption sheet(u"sheet"_s, u"Also write a contact sheet of every outfit and tier to this PNG."_s, u"path"_s);
    const QCommandLineOption sheetOnly(u"sheet-only"_s, u"Write only the contact sheet."_s);
    options.addOptions({ art, out, sheet, sheetOnly });
    options.process(app);

    QString error;
    if (!options.isSet(sheetOnly) && !SpriteGen::writeAll(options.value(art), options.value(out), &error)) {
        std::fprintf(stderr, "spritegen: %s\n", qPrintable(error));
        return 1;
    }
    if (options.isSet(sheet)) {
        const QImage image = SpriteGen::contactSheet(options.value(art), &error);
        if (image.isNull() || !image.save(options.value(sheet))) {
            std::fprintf(stderr, "spritegen: contact sheet: %s\n", qPrintable(error));
            return 1;
        }
    }
    return 0;
}
