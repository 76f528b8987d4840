#pragma once

#include "copies/CopySearch.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QSpinBox;

/// Asks what makes two files copies before the catalogue is searched for them: the
/// same modification date as well as name and size, and the smallest file worth
/// counting, as a number and a unit (bytes, KB, MB, GB of 1,024).
class CCopyOptionsDlg final : public QDialog
{
    Q_OBJECT

public:
    explicit CCopyOptionsDlg(QWidget* parent = nullptr);

    CCopySearch::Options Options() const;

    QCheckBox& WithDateBox() const { return *m_withDate; }
    QSpinBox& MinSizeBox() const { return *m_minSize; }
    QComboBox& UnitBox() const { return *m_unit; }

private:
    QCheckBox* m_withDate;
    QSpinBox* m_minSize;
    QComboBox* m_unit;
};
