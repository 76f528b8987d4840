#include "RecordingSink.h"

#include "importers/ListReader.h"

#include <QBuffer>

#include <gtest/gtest.h>

void CRecordingSink::BeginDisc(const QString& label, const QDateTime& created)
{
    Discs.push_back({label, created, {}, {}});
}

void CRecordingSink::SetDiscNotes(const QString& notes)
{
    EXPECT_FALSE(Discs.empty()) << "notes before any disc";
    if (!Discs.empty())
        Discs.back().Notes = notes;
}

void CRecordingSink::Item(const ImportedItem& item)
{
    if (Discs.empty()) {
        ItemBeforeDisc = true;
        Discs.emplace_back();
    }
    Discs.back().Items.push_back(item);
}

const ImportedItem* CRecordingSink::Find(std::size_t disc, const QString& path) const
{
    if (disc >= Discs.size())
        return nullptr;
    for (const ImportedItem& item : Discs[disc].Items)
        if (item.Path.join(QLatin1Char('/')) == path)
            return &item;
    return nullptr;
}

QStringList CRecordingSink::Paths(std::size_t disc) const
{
    QStringList paths;
    if (disc < Discs.size())
        for (const ImportedItem& item : Discs[disc].Items)
            paths << item.Path.join(QLatin1Char('/'));
    return paths;
}

CRecordingSink CRecordingSink::ReadAll(const CListReader& reader, const QByteArray& list)
{
    CRecordingSink sink;
    QBuffer buffer;
    buffer.setData(list);
    buffer.open(QIODevice::ReadOnly);
    try {
        reader.Read(buffer, sink);
    } catch (const ImportError& error) {
        ADD_FAILURE() << reader.Name().toStdString() << " failed on line " << error.Line << ": "
                      << error.Message.toStdString();
    }
    EXPECT_FALSE(sink.ItemBeforeDisc) << "an item came before any disc";
    return sink;
}

ImportError CRecordingSink::FailureOf(const CListReader& reader, const QByteArray& list)
{
    CRecordingSink sink;
    QBuffer buffer;
    buffer.setData(list);
    buffer.open(QIODevice::ReadOnly);
    try {
        reader.Read(buffer, sink);
    } catch (const ImportError& error) {
        return error;
    }
    return {-1, QString()};
}
