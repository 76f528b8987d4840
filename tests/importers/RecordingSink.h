#pragma once

#include "importers/ImportSink.h"

#include <QByteArray>

#include <vector>

class CListReader;

// One disc as a reader handed it over, with its items in order.
struct RecordedDisc
{
    QString Label;
    QDateTime Created;
    QString Notes;
    std::vector<ImportedItem> Items;
};

// A sink that keeps what a reader hands it, for tests to look at.
class CRecordingSink final : public CImportSink
{
public:
    void BeginDisc(const QString& label, const QDateTime& created) override;
    void Item(const ImportedItem& item) override;
    void SetDiscNotes(const QString& notes) override;

    // The item whose path, joined by '/', is path in the disc at index; null if none.
    const ImportedItem* Find(std::size_t disc, const QString& path) const;
    // Every path of the disc at index, joined by '/', in the order handed over.
    QStringList Paths(std::size_t disc) const;

    // What reader makes of list (read from memory); a failure fails the test.
    static CRecordingSink ReadAll(const CListReader& reader, const QByteArray& list);
    // The error reader throws on list; Line is -1 when it does not throw.
    static ImportError FailureOf(const CListReader& reader, const QByteArray& list);

    std::vector<RecordedDisc> Discs;
    bool ItemBeforeDisc = false;
};
