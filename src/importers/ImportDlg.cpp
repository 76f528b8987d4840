#include "importers/ImportDlg.h"

#include "importers/ListReaders.h"
#include "ui_ImportDlg.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QPushButton>

namespace {

// Shown in the format list; the names the command line takes are the data.
QString FormatTitle(const QString& name)
{
    if (name == QLatin1String("csv"))
        return CImportDlg::tr("Shelfwise CSV export");
    if (name == QLatin1String("json"))
        return CImportDlg::tr("Shelfwise JSON export");
    if (name == QLatin1String("efu"))
        return CImportDlg::tr("Everything file list (.efu)");
    if (name == QLatin1String("catcli"))
        return CImportDlg::tr("catcli catalogue (JSON)");
    if (name == QLatin1String("snap2html"))
        return CImportDlg::tr("Snap2HTML page");
    if (name == QLatin1String("vvv"))
        return CImportDlg::tr("VVV export");
    if (name == QLatin1String("cdcat"))
        return CImportDlg::tr("cdcat catalogue");
    return name;
}

} // namespace

CImportDlg::CImportDlg(QWidget* parent) : QDialog(parent), m_ui(std::make_unique<Ui::CImportDlg>())
{
    m_ui->setupUi(this);
    setAccessibleName(tr("Import"));
    for (const QString& name : ListReaders::Names())
        m_ui->formatCombo->addItem(FormatTitle(name), name);
    m_ui->formatCombo->setCurrentIndex(-1);
    connect(m_ui->buttonBox, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_ui->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_ui->browseButton, &QPushButton::clicked, this, &CImportDlg::Browse);
    connect(m_ui->listEdit, &QLineEdit::editingFinished, this,
            [this] { SetListPath(m_ui->listEdit->text()); });
    connect(m_ui->storageEdit, &QLineEdit::textEdited, this, [this] {
        if (!m_settingName)
            m_nameTyped = true;
        UpdateOk();
    });
    connect(m_ui->formatCombo, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &CImportDlg::UpdateOk);
    connect(m_ui->listEdit, &QLineEdit::textChanged, this, &CImportDlg::UpdateOk);
    UpdateOk();
}

CImportDlg::~CImportDlg() = default;

void CImportDlg::Browse()
{
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Import"), ListPath(),
        tr("Lists (*.csv *.json *.efu *.html *.htm *.txt *.xml *.gz);;All files (*)"));
    if (!path.isEmpty())
        SetListPath(path);
}

void CImportDlg::SetListPath(const QString& path)
{
    if (m_ui->listEdit->text() != path)
        m_ui->listEdit->setText(path);
    const std::unique_ptr<CListReader> reader = ListReaders::GuessFile(path);
    m_ui->formatCombo->setCurrentIndex(reader ? m_ui->formatCombo->findData(reader->Name()) : -1);
    if (!m_nameTyped) {
        m_settingName = true;
        m_ui->storageEdit->setText(QFileInfo(path).completeBaseName());
        m_settingName = false;
    }
    UpdateOk();
}

QString CImportDlg::ListPath() const
{
    return m_ui->listEdit->text().trimmed();
}

QString CImportDlg::FormatName() const
{
    return m_ui->formatCombo->currentData().toString();
}

QString CImportDlg::StorageName() const
{
    return m_ui->storageEdit->text().trimmed();
}

void CImportDlg::UpdateOk()
{
    m_ui->buttonBox->button(QDialogButtonBox::Ok)
        ->setEnabled(!ListPath().isEmpty() && !FormatName().isEmpty() && !StorageName().isEmpty());
}
