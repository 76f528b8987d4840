#include "acquisition/ChangeList.h"

#include "common/FormatSize.h"

#include <QStringList>

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
    const auto part = [&](Kind kind, const char* word, bool withBytes) {
        const int count = Count(kind);
        if (count == 0)
            return;
        QString text = QStringLiteral("%1 %2").arg(count).arg(QLatin1String(word));
        if (withBytes)
            text += QStringLiteral(" (%1)").arg(FormatSize(Bytes(kind)));
        parts.append(text);
    };
    part(Kind::Added, "added", true);
    part(Kind::Removed, "removed", true);
    part(Kind::Changed, "changed", false);
    part(Kind::Moved, "moved", false);
    part(Kind::Unreadable, "unreadable", false);
    return parts.isEmpty() ? QStringLiteral("No changes") : parts.join(QStringLiteral(", "));
}
