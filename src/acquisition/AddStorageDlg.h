#pragma once

#include "sqlitewrapper/Records.h"

#include <QDialog>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace Ui {
class CAddStorageDlg;
}

/// "Add New Storage": asks for a new storage's name and description. OK refuses an
/// empty name and one that an existing storage already has (exact, case-sensitive), with
/// a warning, and keeps the dialog open; the caller adds the storage
/// (CShelfwiseDoc::AddStorage) with Name() and Description() after exec() returned
/// Accepted.
class CAddStorageDlg final : public QDialog
{
    Q_OBJECT

public:
    /// existing: the catalogue's storages (CShelfwiseDoc::Storages()), for the name check.
    explicit CAddStorageDlg(const std::vector<StorageRecord>& existing, QWidget* parent = nullptr);
    ~CAddStorageDlg() override;

    QString Name() const;
    QString Description() const;

public slots:
    void accept() override;

private:
    std::unique_ptr<Ui::CAddStorageDlg> m_ui;
    QStringList m_existingNames;
};
