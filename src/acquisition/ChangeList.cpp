#include "acquisition/ChangeList.h"

#include "common/FormatSize.h"

#include <QStringList>

const char* CChangeList::Word(Kind kind)
{
    switch (kind) {
    case Kind::Added:
        return "added";
    case Kind::Removed:
        return "removed";
    case Kind::Changed:
        return "changed";
    case Kind::Moved:
        return "moved";
    case Kind::Unchanged:
        return "unchanged";
    case Kind::Unreadable:
        return "unreadable";
    }
    return "";
}

void CChangeList::Add(Change change)
{
    const size_t index = Index(change.What);
    m_counts[index] += 1;
    if (!change.IsFolder)
        m_bytes[index] += change.What == Kind::Removed ? change.OldSize : change.NewSize;
    m_entries.push_back(std::move(change));
}

bool CChangeList::HasChanges() const
{
    return Count(Kind::Unchanged) != static_cast<int>(m_entries.size());
}

QString CChangeList::Summary() const
{
    QStringList parts;
    const auto part = [&](Kind kind, bool withBytes) {
        const int count = Count(kind);
        if (count == 0)
            return;
        QString text = QStringLiteral("%1 %2").arg(count).arg(QLatin1String(Word(kind)));
        if (withBytes)
            text += QStringLiteral(" (%1)").arg(FormatSize(Bytes(kind)));
        parts.append(text);
    };
    part(Kind::Added, true);
    part(Kind::Removed, true);
    part(Kind::Changed, false);
    part(Kind::Moved, false);
    part(Kind::Unreadable, false);
    return parts.isEmpty() ? QStringLiteral("No changes") : parts.join(QStringLiteral(", "));
}
