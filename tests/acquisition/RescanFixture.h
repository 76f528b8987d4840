#pragma once

#include "FakePrompter.h"

#include "acquisition/AddLocationJob.h"
#include "acquisition/ChangeList.h"
#include "document/ShelfwiseDoc.h"

#include <QString>
#include <QtGlobal>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

class FolderLister;

namespace RescanTools {

constexpr qint64 kThen = 1600000000; // 2020-09-13, seconds since 1970

// A file of size bytes ('x') modified at modifiedSecs, its folders made first.
void MakeFile(const QString& path, qint64 size, qint64 modifiedSecs = kThen);
// An ISO 9660 image of folder with Rock Ridge and Joliet names, by xorriso or, with
// genisoimage, by that tool; false when the tool failed.
bool MakeImage(const QString& folder, const QString& image, bool genisoimage = false);
// One line per entry, sorted: "added docs/" for a folder, "moved b/e.dat <- a/e.dat".
std::vector<std::string> Lines(const CChangeList& changes, bool withUnchanged = false);
const CChangeList::Change* Find(const CChangeList& changes, const QString& path);

} // namespace RescanTools

// A new catalogue with one storage, trees added to it with the real job, and rescans.
class RescanTest : public ::testing::Test
{
protected:
    RescanTest();
    ~RescanTest() override;

    // Adds path with the real job and returns the new top unit's id (0 on failure).
    int Add(CAddLocationJob::Mode mode, const QString& path, FolderLister* lister = nullptr);
    qint64 Number(const QString& sql);
    QString Text(const QString& sql);
    // The unit below top with that name.
    int UnitNamed(int top, const char* name);
    std::optional<CChangeList> Rescan(int unitId, const QString& source,
                                      FolderLister* lister = nullptr);

    FakePrompter m_prompter;
    CShelfwiseDoc m_doc;
    int m_storage = 0;
};
