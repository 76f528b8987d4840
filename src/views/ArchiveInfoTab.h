#pragma once

#include "document/UnitProperties.h"

#include <QWidget>

/// The "Archive Info" page of the properties dialog of an archive: its format, the
/// number of entries read from it and their size uncompressed, all read-only. (The
/// archive's own size, on the File Info page, is what it takes on the medium.)
class CArchiveInfoTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CArchiveInfoTab(QWidget* parent = nullptr);

    /// Shows the texts collected for the archive.
    void SetValues(const UnitProperties::Tab& values);
};
