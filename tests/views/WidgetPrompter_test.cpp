// The real message boxes: which button Enter presses, and what Esc answers.
#include "views/WidgetPrompter.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

// Presses key in the box that opens next and notes its default button's text.
void PressInNextBox(Qt::Key key, QString* defaultButton)
{
    QTimer::singleShot(0, [key, defaultButton] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        *defaultButton = box->defaultButton() ? box->defaultButton()->text() : QString();
        QTest::keyClick(box, key);
    });
}

} // namespace

TEST(WidgetPrompter, EnterTakesTheDefaultAndEscAnswersOnlyWhereThatMeansNothing)
{
    CWidgetPrompter prompter;
    QString pressed;

    // A plain question: Enter means Yes (the first-start question opens the sample).
    PressInNextBox(Qt::Key_Return, &pressed);
    EXPECT_TRUE(
        prompter.AskYesNo(QStringLiteral("Open the sample?"), UserPrompter::Icon::Question));
    EXPECT_TRUE(pressed.contains(QStringLiteral("Yes"))) << pressed.toStdString();

    // A change the user should not make by accident: Enter means No, and Esc neither.
    PressInNextBox(Qt::Key_Return, &pressed);
    EXPECT_EQ(prompter.AskYesNoDefaultNo(QStringLiteral("Change them all?"),
                                         UserPrompter::Icon::Question),
              UserPrompter::Answer::No);
    EXPECT_TRUE(pressed.contains(QStringLiteral("No"))) << pressed.toStdString();
    PressInNextBox(Qt::Key_Escape, &pressed);
    EXPECT_EQ(prompter.AskYesNoDefaultNo(QStringLiteral("Change them all?"),
                                         UserPrompter::Icon::Question),
              UserPrompter::Answer::Cancel);
    PressInNextBox(Qt::Key_Y, &pressed);
    EXPECT_EQ(prompter.AskYesNoDefaultNo(QStringLiteral("Change them all?"),
                                         UserPrompter::Icon::Question),
              UserPrompter::Answer::Yes);

    // Save changes: Enter saves.
    PressInNextBox(Qt::Key_Return, &pressed);
    EXPECT_EQ(
        prompter.AskYesNoCancel(QStringLiteral("Save changes?"), UserPrompter::Icon::Question),
        UserPrompter::Answer::Yes);
}
