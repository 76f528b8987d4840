#pragma once

#include "document/UnitProperties.h"
#include "sqlitewrapper/Records.h"

#include <QDialog>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

class CShelfwiseDoc;
class QLineEdit;
class QPlainTextEdit;

namespace Ui {
class CPropertiesDlg;
}

/// What the catalogue knows of one storage or unit, one tab per kind of information:
/// a storage gets "Storage Info"; a disc, folder or file its own tab, and a film, music
/// or picture file a second tab with its media details. OK stores a changed name
/// (storages and discs) and description (all but media); Cancel changes nothing.
/// Opened modally (exec) by the views' Properties commands.
class CPropertiesDlg final : public QDialog
{
    Q_OBJECT

public:
    /// id is a StorageID when isStorage is set, a UnitID otherwise.
    CPropertiesDlg(int id, bool isStorage, CShelfwiseDoc& doc, QWidget* parent = nullptr);
    ~CPropertiesDlg() override;

    int TabCount() const;
    QStringList TabTitles() const;
    /// The text shown next to label (e.g. "Size:") on the first tab that has it.
    QString FieldText(const QString& label) const;
    /// The name and description edits of the first tab; nullptr when the item could
    /// not be read.
    QLineEdit* NameEdit() const { return m_nameEdit; }
    QPlainTextEdit* DescriptionEdit() const { return m_descriptionEdit; }

public slots:
    /// Checks and stores the edits, then closes; an empty or taken name shows a
    /// message and keeps the dialog open.
    void accept() override;

private:
    void AddStorageTab(const UnitProperties::Tab& values);
    void AddUnitTabs(const UnitListItem& unit, const std::vector<UnitProperties::Tab>& tabs);
    void AddMediaTab(const UnitProperties::Tab& values);
    bool StoreStorage();
    bool StoreUnit();
    bool StorageNameTaken(const QString& name) const;

    std::unique_ptr<Ui::CPropertiesDlg> m_ui;
    CShelfwiseDoc& m_doc;
    const int m_id;
    UnitKind m_kind = UnitKind::Unset; // Storage for a storage; Unset when unreadable
    QLineEdit* m_nameEdit = nullptr;
    QPlainTextEdit* m_descriptionEdit = nullptr;
    // The texts the edits started with: only what the user changed is written back.
    QString m_oldName;
    QString m_oldDescription;
};
