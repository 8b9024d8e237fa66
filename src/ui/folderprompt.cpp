#include "folderprompt.h"

#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
// Modal dialogs come up in front of whatever the user was doing, as the grant was asked for just now.
void bringToFront(QWidget *dialog)
{
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}
} // namespace

std::optional<QString> DialogFolderPrompt::chooseFolder(const QString &message, const QString &confirmTitle, const QString &startFolder)
{
    // Qt's own dialog, because the platform ones take neither a message nor an accept label everywhere.
    QFileDialog dialog(nullptr, message, startFolder);
    dialog.setOption(QFileDialog::DontUseNativeDialog, true);
    dialog.setOption(QFileDialog::ShowDirsOnly, true);
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setFilter(QDir::AllDirs | QDir::NoDotAndDotDot | QDir::Hidden);
    dialog.setLabelText(QFileDialog::Accept, confirmTitle);
    dialog.setWindowTitle(u"Yuzuha"_s);
    // The message sits above the file view, where the user reads it before picking.
    if (auto *layout = qobject_cast<QGridLayout *>(dialog.layout())) {
        auto *label = new QLabel(message, &dialog);
        label->setWordWrap(true);
        label->setObjectName(u"grantMessage"_s);
        const int columns = layout->columnCount();
        // Move every existing row down by one to make room at the top.
        QList<std::tuple<QLayoutItem *, int, int, int, int>> items;
        for (int i = layout->count() - 1; i >= 0; --i) {
            int row = 0, column = 0, rowSpan = 0, columnSpan = 0;
            layout->getItemPosition(i, &row, &column, &rowSpan, &columnSpan);
            items.append({ layout->takeAt(i), row, column, rowSpan, columnSpan });
        }
        layout->addWidget(label, 0, 0, 1, columns);
        for (const auto &[item, row, column, rowSpan, columnSpan] : std::as_const(items))
            layout->addItem(item, row + 1, column, rowSpan, columnSpan);
    }
    dialog.setDirectory(startFolder);
    bringToFront(&dialog);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    const QStringList picked = dialog.selectedFiles();
    if (picked.isEmpty())
        return std::nullopt;
    return picked.first();
}

bool DialogFolderPrompt::ask(const QString &message, const QString &informativeText, const QStringList &buttons)
{
    QMessageBox alert;
    alert.setWindowTitle(u"Yuzuha"_s);
    alert.setIcon(QMessageBox::Warning);
    alert.setText(message);
    alert.setInformativeText(informativeText);
    QList<QPushButton *> added;
    for (qsizetype i = 0; i < buttons.size(); ++i)
        added.append(alert.addButton(buttons[i], i == 0 ? QMessageBox::AcceptRole : QMessageBox::RejectRole));
    if (!added.isEmpty()) {
        alert.setDefaultButton(added.first());
        alert.setEscapeButton(added.last());
    }
    bringToFront(&alert);
    alert.exec();
    return !added.isEmpty() && alert.clickedButton() == added.first();
}
