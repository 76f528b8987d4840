#pragma once

#include "FakePrompter.h"

#include "document/ShelfwiseDoc.h"

#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

class QLineEdit;
class QTreeWidget;
class QWidget;

// A copy of the sample catalogue open in a document, a scripted prompter, and the
// process's settings at their defaults; the settings as they were come back, in memory
// and in the file, when the test ends.
class OptionsTest : public ::testing::Test
{
protected:
    OptionsTest();
    ~OptionsTest() override;

    void SetUp() override;

    QTemporaryDir m_dir;
    FakePrompter m_prompter;
    CShelfwiseDoc m_doc{true};

private:
    std::vector<std::pair<QString, QString>> m_savedSettings;
};

// The texts of a one-column list, top to bottom.
QStringList ItemTexts(const QTreeWidget& list);

// The in-place editor open in list, or nullptr.
QLineEdit* OpenEditor(const QTreeWidget& list);

// Every widget a keyboard reaches has a name a screen reader can say.
void ExpectAccessibleNames(const QWidget& widget);

// Sample catalogue units: the three PDF files, and a text file.
constexpr int kTaxReturnPdf = 77;
constexpr int kBirthCertificatePdf = 112;
constexpr int kRoadAtlasPdf = 130;
constexpr int kNotesTxt = 9;
