// The templates of the generated documentation: slots that take a block of lines or a
// piece of a line, notes for the template's reader, and a template that does not fit
// what the generator gives refused rather than written half filled.
#include "cli/DocTemplate.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <stdexcept>

TEST(DocTemplate, ASlotAloneOnItsLineTakesLinesAndAnotherTakesText)
{
    const QString text = QStringLiteral(".TH PAGE \"@DATE@\"\n"
                                        "@ITEMS@\n"
                                        ".SH END\n"
                                        "@EMPTY@\n"
                                        "last @DATE@");
    DocTemplate page(QStringLiteral("page.in"), text);
    page.Fill(QStringLiteral("DATE"), QStringLiteral("2031-02-03"))
        .Fill(QStringLiteral("ITEMS"), QStringLiteral(".TP\none\n.TP\ntwo"))
        .Fill(QStringLiteral("EMPTY"), QString());
    // A block ends its last line; an empty one leaves no empty line behind.
    EXPECT_EQ(page.Text(), ".TH PAGE \"2031-02-03\"\n"
                           ".TP\none\n.TP\ntwo\n"
                           ".SH END\n"
                           "last 2031-02-03");

    // A block that ends its own line is taken as it is.
    DocTemplate block(QStringLiteral("block.in"), QStringLiteral("a\n@B@\nc\n"));
    block.Fill(QStringLiteral("B"), QStringLiteral("b1\nb2\n"));
    EXPECT_EQ(block.Text(), "a\nb1\nb2\nc\n");
}

TEST(DocTemplate, NotesAreLeftOutAndValuesAreNeverReadAsSlots)
{
    DocTemplate script(QStringLiteral("script.in"),
                       QStringLiteral("@@ @WORDS@ is filled by the generator.\n"
                                      "words=(@WORDS@)\n"
                                      "@@ another note\n"
                                      "echo \"${words[@]}\" @catalogue\n"));
    script.Fill(QStringLiteral("WORDS"), QStringLiteral("@OTHER@ two"));
    EXPECT_EQ(script.Text(), "words=(@OTHER@ two)\necho \"${words[@]}\" @catalogue\n");
}

TEST(DocTemplate, ATemplateThatDoesNotFitTheGeneratorIsRefused)
{
    DocTemplate unfilled(QStringLiteral("unfilled.in"), QStringLiteral("a @SLOT@ b\n"));
    try {
        (void)unfilled.Text();
        ADD_FAILURE() << "an unfilled slot was accepted";
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find("unfilled.in"), std::string::npos);
        EXPECT_NE(std::string(error.what()).find("@SLOT@"), std::string::npos);
    }

    DocTemplate unknown(QStringLiteral("unknown.in"), QStringLiteral("no slots\n"));
    unknown.Fill(QStringLiteral("SLOT"), QStringLiteral("value"));
    EXPECT_THROW((void)unknown.Text(), std::invalid_argument);

    QTemporaryDir folder;
    EXPECT_THROW(DocTemplate::Load(folder.path(), QStringLiteral("missing.in")),
                 std::runtime_error);
    QFile file(QDir(folder.path()).filePath(QStringLiteral("page.in")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("caf\xc3\xa9 @X@\n");
    file.close();
    EXPECT_EQ(DocTemplate::Load(folder.path(), QStringLiteral("page.in"))
                  .Fill(QStringLiteral("X"), QStringLiteral("1"))
                  .Text(),
              QString::fromUtf8("caf\xc3\xa9 1\n"));
}
