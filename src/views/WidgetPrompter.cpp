#include "views/WidgetPrompter.h"

#include "options/PathDlg.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QMetaObject>
#include <QPushButton>
#include <QWidget>

namespace {

QMessageBox::Icon BoxIcon(UserPrompter::Icon icon)
{
    switch (icon) {
    case UserPrompter::Icon::Warning:
        return QMessageBox::Warning;
    case UserPrompter::Icon::Error:
        return QMessageBox::Critical;
    case UserPrompter::Icon::Question:
        return QMessageBox::Question;
    case UserPrompter::Icon::Information:
        break;
    }
    return QMessageBox::Information;
}

} // namespace

void CWidgetPrompter::ShowMessage(const QString& text, Icon icon)
{
    QMessageBox box(BoxIcon(icon), QStringLiteral("Shelfwise"), text, QMessageBox::Ok, m_window);
    box.exec();
}

bool CWidgetPrompter::AskYesNo(const QString& text, Icon icon)
{
    QMessageBox box(BoxIcon(icon), QStringLiteral("Shelfwise"), text,
                    QMessageBox::Yes | QMessageBox::No, m_window);
    box.setDefaultButton(QMessageBox::Yes);
    return box.exec() == QMessageBox::Yes;
}

UserPrompter::Answer CWidgetPrompter::AskYesNoDefaultNo(const QString& text, Icon icon)
{
    QMessageBox box(BoxIcon(icon), QStringLiteral("Shelfwise"), text,
                    QMessageBox::Yes | QMessageBox::No, m_window);
    box.setDefaultButton(QMessageBox::No);
    // Esc and the close box answer neither Yes nor No: a Cancel button nobody sees
    // takes them.
    QPushButton* closed = box.addButton(QMessageBox::Cancel);
    closed->hide();
    box.setEscapeButton(closed);
    box.exec();
    if (box.clickedButton() == box.button(QMessageBox::Yes))
        return Answer::Yes;
    if (box.clickedButton() == box.button(QMessageBox::No))
        return Answer::No;
    return Answer::Cancel;
}

UserPrompter::Answer CWidgetPrompter::AskYesNoCancel(const QString& text, Icon icon)
{
    QMessageBox box(BoxIcon(icon), QStringLiteral("Shelfwise"), text,
                    QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, m_window);
    box.setDefaultButton(QMessageBox::Yes);
    switch (box.exec()) {
    case QMessageBox::Yes:
        return Answer::Yes;
    case QMessageBox::No:
        return Answer::No;
    default:
        return Answer::Cancel;
    }
}

void CWidgetPrompter::CloseMainWindow()
{
    // Queued: the error that asks for it is still being handled.
    if (m_window)
        QMetaObject::invokeMethod(m_window, "close", Qt::QueuedConnection);
}

QString CWidgetPrompter::AskNewerCatalogue(const QString& catalogueVersion)
{
    // Until the newer-catalogue dialog exists: offer another catalogue or exit.
    const QString text =
        QStringLiteral("This catalogue was made by a newer Shelfwise (version %1). Open "
                       "another catalogue?")
            .arg(catalogueVersion);
    if (!AskYesNo(text, Icon::Question))
        return QString();
    return QFileDialog::getOpenFileName(m_window, QString(), QString(),
                                        QStringLiteral("Database Files (*.db3);;All files (*)"));
}

QString CWidgetPrompter::AskBackupPath()
{
    return CPathDlg::Ask(m_window);
}

QString CWidgetPrompter::AskSaveFileName()
{
    QFileDialog dialog(m_window);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters({QStringLiteral("Database Files (*.db3)")});
    dialog.setDefaultSuffix(QStringLiteral("db3"));
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
}
