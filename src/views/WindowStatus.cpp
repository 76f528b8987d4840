#include "views/WindowStatus.h"

#include "common/FormatSize.h"
#include "document/ShelfwiseDoc.h"

#include <QDir>
#include <QLabel>
#include <QLocale>
#include <QStatusBar>
#include <QStringList>

namespace {

// How long a line such as "Deleted ..." stays.
constexpr int kMessageMs = 10000;

} // namespace

CWindowStatus::CWindowStatus(CShelfwiseDoc& doc, QStatusBar& bar, QObject* parent)
    : QObject(parent), m_doc(doc), m_path(new QLabel(&bar)), m_message(new QLabel(&bar)),
      m_summary(new QLabel(&bar))
{
    m_path->setAccessibleName(tr("Catalogue path"));
    m_message->setAccessibleName(tr("Last action"));
    m_summary->setAccessibleName(tr("Selection summary"));
    // The line stands where the path does, as long as it shows.
    bar.addWidget(m_path, 1);
    bar.addWidget(m_message, 1);
    bar.addPermanentWidget(m_summary);
    m_message->hide();
    m_messageTimer.setSingleShot(true);
    connect(&m_messageTimer, &QTimer::timeout, this, [this] {
        m_message->clear();
        m_message->hide();
        m_path->show();
    });
    connect(&m_doc, &CShelfwiseDoc::cataloguePathChanged, this,
            [this](const QString& path) { m_path->setText(QDir::toNativeSeparators(path)); });
    connect(&m_doc, &CShelfwiseDoc::viewsNeedUpdate, this, &CWindowStatus::UpdateSummary);
}

void CWindowStatus::ShowMessage(const QString& text)
{
    m_message->setText(text);
    m_path->hide();
    m_message->show();
    m_messageTimer.start(kMessageMs);
}

QString CWindowStatus::Message() const
{
    return m_message->text();
}

QString CWindowStatus::Summary() const
{
    return m_summary->text();
}

QString CWindowStatus::SummaryText(qint64 discs, qint64 folders, qint64 files, qint64 size)
{
    const QLocale locale;
    QStringList parts;
    auto count = [&](qint64 n, const QString& one, const QString& many) {
        if (n > 0)
            parts << (n == 1 ? one : many.arg(locale.toString(n)));
    };
    count(discs, tr("1 disc"), tr("%1 discs"));
    count(folders, tr("1 folder"), tr("%1 folders"));
    count(files, tr("1 file"), tr("%1 files"));
    if (parts.isEmpty())
        return tr("Empty");
    parts << FormatSize(size);
    return parts.join(QStringLiteral(", "));
}

QString CWindowStatus::ArchiveSummary(int unitId) const
{
    // An archive and its folders keep no counters of their own: an archive says what
    // its ArchiveInfo row holds, a folder inside one what lies directly in it.
    CSqliteWrapper& db = m_doc.Database();
    const UnitListItem unit = db.GetUnit(unitId);
    ArchiveDetails archive;
    if (unit.IsArchive && db.GetArchiveInfo(unitId, archive)) {
        const QString entries =
            archive.EntriesNumber == 1
                ? tr("1 entry")
                : tr("%1 entries").arg(QLocale().toString(archive.EntriesNumber));
        return tr("%1, %2 uncompressed").arg(entries, FormatSize(archive.UncompressedSize));
    }
    if (unit.Kind != UnitKind::ArchiveFolder)
        return QString();
    std::vector<UnitListItem> rows;
    db.GetSubunits(rows, unitId, false);
    qint64 folders = 0;
    qint64 size = 0;
    for (const UnitListItem& row : rows) {
        folders += row.Kind == UnitKind::ArchiveFolder ? 1 : 0;
        size += row.UnitSize;
    }
    return SummaryText(0, folders, static_cast<qint64>(rows.size()) - folders, size);
}

void CWindowStatus::UpdateSummary()
{
    const Selection& selection = m_doc.Selection();
    if (selection.IsNone()) {
        m_summary->clear();
        return;
    }
    qint64 discs = 0;
    qint64 folders = 0;
    qint64 files = 0;
    qint64 size = 0;
    if (selection.IsStorage()) {
        for (const StorageRecord& storage : m_doc.Storages()) {
            if (storage.StorageID == selection.Id()) {
                discs = storage.DiscsNumber;
                folders = storage.FoldersNumber;
                files = storage.FilesNumber;
                size = storage.StorageSize;
            }
        }
    } else {
        QString inArchive;
        m_doc.Guard([&] { inArchive = ArchiveSummary(selection.Id()); });
        if (!inArchive.isEmpty()) {
            m_summary->setText(inArchive);
            return;
        }
        m_doc.Guard([&] {
            const FolderDetails details = m_doc.Database().GetFolderProperties(selection.Id());
            folders = details.SubfoldersNumber;
            files = details.SubfilesNumber;
            size = details.UnitSize;
        });
    }
    m_summary->setText(SummaryText(discs, folders, files, size));
}
