#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

class CShelfwiseDoc;
class QLabel;
class QStatusBar;

// The status bar's texts: the catalogue's path, a line about the last thing done
// ("Deleted ...", "Undone: ..."), which stands in the path's place for a few seconds,
// and the selection's counts and size in words ("3 discs, 120 folders, 1 file,
// 24.95 GB"). The line is a label of its own rather than the bar's temporary message,
// which Qt clears whenever the pointer crosses a menu entry.
class CWindowStatus final : public QObject
{
    Q_OBJECT

public:
    CWindowStatus(CShelfwiseDoc& doc, QStatusBar& bar, QObject* parent);

    void ShowMessage(const QString& text);
    QString Message() const;
    QString Summary() const;

    // The counts of a selection in words: each count that is not 0, singular or
    // plural, then the size; "Empty" when there is nothing.
    static QString SummaryText(qint64 discs, qint64 folders, qint64 files, qint64 size);

private:
    void UpdateSummary();
    // The summary of an archive or of a folder inside one; empty for any other unit.
    QString ArchiveSummary(int unitId) const;

    CShelfwiseDoc& m_doc;
    QLabel* m_path;
    QLabel* m_message;
    QLabel* m_summary;
    QTimer m_messageTimer;
};
