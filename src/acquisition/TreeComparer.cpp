#include "acquisition/TreeComparer.h"

#include "listers/FindData.h"
#include "sqlitewrapper/SqlText.h"

#include <QDateTime>
#include <QHash>

#include <algorithm>
#include <cstdlib>
#include <deque>

namespace {

QString Column(char** values, int columns, int i)
{
    return i < columns && values[i] ? QString::fromUtf8(values[i]) : QString();
}

QString NameOf(const QString& path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

// Days from 1970-01-01 to the date of the proleptic Gregorian calendar.
qint64 DaysFromCivil(qint64 year, qint64 month, qint64 day)
{
    year -= month <= 2 ? 1 : 0;
    const qint64 era = (year >= 0 ? year : year - 399) / 400;
    const qint64 yearOfEra = year - era * 400;
    const qint64 dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const qint64 dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

// A catalogued date text "YYYY-MM-DD HH:MM:SS" as seconds since 1970 of that wall
// clock; false unless the text is exactly that form of a real date and time, the only
// form that FormatDateText gives back from the same second.
bool WallClockSeconds(const QString& text, qint64* seconds)
{
    static const char kForm[] = "0000-00-00 00:00:00";
    if (text.size() != 19)
        return false;
    const QChar* c = text.constData();
    for (int i = 0; i < 19; ++i) {
        const bool digit = c[i] >= QLatin1Char('0') && c[i] <= QLatin1Char('9');
        if (kForm[i] == '0' ? !digit : c[i] != QLatin1Char(kForm[i]))
            return false;
    }
    const auto number = [c](int at, int digits) {
        qint64 value = 0;
        for (int i = at; i < at + digits; ++i)
            value = value * 10 + (c[i].unicode() - '0');
        return value;
    };
    const qint64 year = number(0, 4);
    const qint64 month = number(5, 2);
    const qint64 day = number(8, 2);
    const qint64 hour = number(11, 2);
    const qint64 minute = number(14, 2);
    const qint64 second = number(17, 2);
    if (year < 1 || month < 1 || month > 12 || day < 1 || hour > 23 || minute > 59 || second > 59)
        return false;
    // The month's last day: the day before the first of the next month.
    if (day > DaysFromCivil(month == 12 ? year + 1 : year, month == 12 ? 1 : month + 1, 1) -
                  DaysFromCivil(year, month, 1))
        return false;
    *seconds = DaysFromCivil(year, month, day) * 86400 + hour * 3600 + minute * 60 + second;
    return true;
}

} // namespace

void TreeComparer::MapRow(std::vector<Catalogued>& rows, int columns, char** values)
{
    Catalogued& row = rows.emplace_back();
    row.UnitId = columns > 0 && values[0] ? std::atoi(values[0]) : 0;
    row.Path = Column(values, columns, 1);
    // Discs ('C') and folders ('D') hold the tree; anything else is a file.
    row.IsFolder = columns > 2 && values[2] && (values[2][0] == 'C' || values[2][0] == 'D');
    row.Size = columns > 3 && values[3] ? std::strtoll(values[3], nullptr, 10) : 0;
    row.Modified = Column(values, columns, 4);
}

TreeComparer::TreeComparer(const std::vector<Catalogued>& catalogued, bool ignoreCase)
    : m_catalogued(catalogued), m_ignoreCase(ignoreCase)
{
}

QString TreeComparer::Key(const QString& path) const
{
    return m_ignoreCase ? path.toCaseFolded() : path;
}

bool TreeComparer::InUnreadable(const QString& key) const
{
    if (m_rootUnreadable)
        return true;
    for (QString folder = key;;) {
        if (m_unreadable.contains(folder))
            return true;
        const qsizetype slash = folder.lastIndexOf(QLatin1Char('/'));
        if (slash < 0)
            return false;
        folder.truncate(slash);
    }
}

qint64 TreeComparer::OffsetAt(qint64 utcMsecs)
{
    const qint64 hour = utcMsecs >= 0 ? utcMsecs / 3600000 : (utcMsecs - 3599999) / 3600000;
    if (!m_hasLastHour || hour != m_lastHour) {
        auto it = m_offsets.find(hour);
        if (it == m_offsets.end()) {
            const int seconds =
                QDateTime::fromMSecsSinceEpoch(utcMsecs, Qt::LocalTime).offsetFromUtc();
            it = m_offsets.emplace(hour, seconds * 1000LL).first;
        }
        m_hasLastHour = true;
        m_lastHour = hour;
        m_lastOffset = it->second;
    }
    return m_lastOffset;
}

QString TreeComparer::DateText(qint64 utcMsecs)
{
    if (utcMsecs == FindData::kNoTime)
        return {};
    return SqlText::FormatDateText(
        QDateTime::fromMSecsSinceEpoch(utcMsecs + OffsetAt(utcMsecs), Qt::UTC));
}

QString TreeComparer::DateText(qint64 utcMsecs, const QString& catalogued)
{
    // Most files are as catalogued: comparing the seconds spares formatting a text
    // that would equal the catalogued one.
    qint64 seconds = 0;
    if (utcMsecs != FindData::kNoTime && WallClockSeconds(catalogued, &seconds)) {
        const qint64 wall = utcMsecs + OffsetAt(utcMsecs);
        const qint64 wallSeconds = wall >= 0 ? wall / 1000 : (wall - 999) / 1000;
        if (wallSeconds == seconds)
            return catalogued;
    }
    return DateText(utcMsecs);
}

CChangeList TreeComparer::Compare(const ScannedTree& scanned)
{
    using Kind = CChangeList::Kind;
    using Change = CChangeList::Change;

    m_unreadable.clear();
    m_rootUnreadable = false;
    for (const ScannedTree::Unreadable& folder : scanned.UnreadableFolders()) {
        if (folder.Path.isEmpty())
            m_rootUnreadable = true;
        m_unreadable.insert(Key(folder.Path));
    }

    QHash<QString, size_t> byPath;
    byPath.reserve(static_cast<qsizetype>(m_catalogued.size()));
    for (size_t i = 0; i < m_catalogued.size(); ++i) {
        const QString& path = m_catalogued[i].Path;
        if (path.isEmpty())
            continue;
        const QString key = Key(path);
        if (!byPath.contains(key))
            byPath.insert(key, i);
    }
    std::vector<char> matched(m_catalogued.size(), 0);

    CChangeList changes;
    changes.Reserve(std::max(scanned.Entries().size(), m_catalogued.size()));
    std::vector<Change> addedFiles; // kept back: some of them may be moves
    for (const ScannedTree::Entry& entry : scanned.Entries()) {
        const QString key = Key(entry.Path);
        Change change;
        change.Path = entry.Path;
        change.IsFolder = entry.IsFolder;
        if (!entry.IsFolder)
            change.NewSize = static_cast<qint64>(entry.Size);
        const auto fillNew = [&] {
            if (entry.IsFolder)
                return;
            change.NewCreated = DateText(entry.Created);
            if (entry.Link)
                change.LinkTarget = entry.Link->Text;
        };
        const bool unreadable = entry.IsFolder && m_unreadable.contains(key);
        const auto found = byPath.constFind(key);
        // A folder where a file was (or the other way) is a removal and an addition:
        // the catalogued unit stays unmatched.
        if (found != byPath.cend() && !matched[*found] &&
            m_catalogued[*found].IsFolder == entry.IsFolder) {
            const Catalogued& old = m_catalogued[*found];
            matched[*found] = 1;
            change.UnitId = old.UnitId;
            if (old.Path != entry.Path)
                change.OldPath = old.Path; // the same name in another case
            if (!old.IsFolder) {
                change.OldSize = old.Size;
                change.OldDate = old.Modified;
                change.NewDate = DateText(entry.Modified, old.Modified);
            }
            if (unreadable)
                change.What = Kind::Unreadable;
            else if (!entry.IsFolder &&
                     (change.OldSize != change.NewSize || change.OldDate != change.NewDate))
                change.What = Kind::Changed;
            else
                change.What = Kind::Unchanged;
            if (change.What == Kind::Changed)
                fillNew();
            changes.Add(std::move(change));
            continue;
        }
        change.What = unreadable ? Kind::Unreadable : Kind::Added;
        if (!entry.IsFolder)
            change.NewDate = DateText(entry.Modified);
        fillNew();
        if (entry.IsFolder)
            changes.Add(std::move(change));
        else
            addedFiles.push_back(std::move(change));
    }

    // What the catalogue has and the walk did not find: removed, unless it lies in a
    // folder that could not be read. Removed files wait for the moves.
    const auto moveKey = [this](const QString& path, qint64 size, const QString& date) {
        return Key(NameOf(path)) + QChar(1) + QString::number(size) + QChar(1) + date;
    };
    QHash<QString, std::deque<size_t>> removedFiles;
    std::vector<size_t> removedOrder;
    for (size_t i = 0; i < m_catalogued.size(); ++i) {
        const Catalogued& old = m_catalogued[i];
        if (matched[i] || old.Path.isEmpty() || InUnreadable(Key(old.Path)))
            continue;
        if (old.IsFolder) {
            Change change;
            change.What = Kind::Removed;
            change.Path = old.Path;
            change.UnitId = old.UnitId;
            change.IsFolder = true;
            changes.Add(std::move(change));
            continue;
        }
        removedFiles[moveKey(old.Path, old.Size, old.Modified)].push_back(i);
        removedOrder.push_back(i);
    }

    for (Change& change : addedFiles) {
        const auto candidates =
            removedFiles.find(moveKey(change.Path, change.NewSize, change.NewDate));
        if (candidates != removedFiles.end() && !candidates->empty()) {
            const size_t i = candidates->front();
            candidates->pop_front();
            const Catalogued& old = m_catalogued[i];
            matched[i] = 1;
            change.What = Kind::Moved;
            change.OldPath = old.Path;
            change.UnitId = old.UnitId;
            change.OldSize = old.Size;
            change.OldDate = old.Modified;
        }
        changes.Add(std::move(change));
    }
    for (const size_t i : removedOrder) {
        if (matched[i])
            continue;
        const Catalogued& old = m_catalogued[i];
        Change change;
        change.What = Kind::Removed;
        change.Path = old.Path;
        change.UnitId = old.UnitId;
        change.OldSize = old.Size;
        change.OldDate = old.Modified;
        changes.Add(std::move(change));
    }
    return changes;
}
