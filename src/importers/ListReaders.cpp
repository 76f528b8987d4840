#include "importers/ListReaders.h"

#include "importers/CatcliReader.h"
#include "importers/CdcatReader.h"
#include "importers/EfuReader.h"
#include "importers/ExportCsvReader.h"
#include "importers/ExportJsonReader.h"
#include "importers/Snap2HtmlReader.h"
#include "importers/VvvReader.h"

#include <QFile>
#include <QFileInfo>

namespace ListReaders {

std::vector<std::unique_ptr<CListReader>> All()
{
    std::vector<std::unique_ptr<CListReader>> readers;
    // The guess takes the first that recognises a list, so each reader recognises only
    // what is unmistakably its own. One line per reader:
    //     readers.push_back(std::make_unique<CSomeReader>());
    // Readers of other cataloguers' lists (catcli, Snap2HTML, VVV, cdcat):
    readers.push_back(std::make_unique<CCatcliReader>());
    readers.push_back(std::make_unique<CSnap2HtmlReader>());
    readers.push_back(std::make_unique<CVvvReader>());
    readers.push_back(std::make_unique<CCdcatReader>());

    // Readers of our own CSV and JSON export and of Everything's file lists:
    readers.push_back(std::make_unique<CExportCsvReader>());
    readers.push_back(std::make_unique<CExportJsonReader>());
    readers.push_back(std::make_unique<CEfuReader>());

    return readers;
}

QStringList Names()
{
    QStringList names;
    for (const auto& reader : All())
        names << reader->Name();
    return names;
}

std::unique_ptr<CListReader> ByName(const QString& name)
{
    for (auto& reader : All())
        if (reader->Name().compare(name, Qt::CaseInsensitive) == 0)
            return std::move(reader);
    return nullptr;
}

std::unique_ptr<CListReader> Guess(const QByteArray& head, const QString& fileName)
{
    for (auto& reader : All())
        if (reader->Recognises(head, fileName))
            return std::move(reader);
    return nullptr;
}

std::unique_ptr<CListReader> GuessFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    return Guess(file.read(kHeadSize), QFileInfo(path).fileName());
}

} // namespace ListReaders
