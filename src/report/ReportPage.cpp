#include "report/ReportPage.h"

#include "common/FormatSize.h"
#include "common/Strings.h"
#include "sqlitewrapper/Records.h"
#include "sqlitewrapper/SqlText.h"

#include <QLatin1String>

#include <iterator>

using SqlText::Format;

namespace {

// The buffer goes to the file once it holds this many characters (128 KB of UTF-16).
constexpr qsizetype kFlushAt = 64 * 1024;

const char* const kHead[] = {
    "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Transitional//EN\"",
    "\"http://www.w3.org/TR/xhtml1/DTD/xhtml1-transitional.dtd\">",
    "",
    "<html xmlns=\"http://www.w3.org/1999/xhtml\">",
    "<head>",
};

const char* const kStyle[] = {
    "<style type=\"text/css\">",
    "body {background-color:whitesmoke;}",
    "caption {font-size:1.2em; font-weight:bold; text-align:center; padding-bottom:0.5em;}",
    "th {background-color:lightgray;}",
    ".type-header {width:100px;}",
    ".size-header {width:100px;}",
    ".date-header {width:180px;}",
    ".type-data {text-align:center;}",
    ".size-data {text-align:center;}",
    ".date-data {text-align:center;}",
    ".data-row:hover {background-color:#E8E8E8;}",
    ".indent {font-weight:bold; margin-right: 1em;}",
    ".copyright {text-align:center;}",
    "</style>",
    "</head>",
    "<body>",
};

const QLatin1String kLineEnd("\r\n");
const QLatin1String kRowStart("<tr class=\"data-row\">\r\n<td>");
const QLatin1String kIndent("<span class=\"indent\">&middot;</span>");
const QLatin1String kTypeCell("</td>\r\n<td class=\"type-data\">");
const QLatin1String kSizeCell("</td>\r\n<td class=\"size-data\">");
const QLatin1String kDateCell("</td>\r\n<td class=\"date-data\">");
const QLatin1String kRowEnd("</td>\r\n</tr>\r\n");

QString Text(int id)
{
    return Strings::LoadString(id);
}

} // namespace

CReportPage::CReportPage()
{
    for (int kind = 0; kind < static_cast<int>(std::size(m_kindTexts)); ++kind)
        m_kindTexts[kind] = KindText(kind);
    m_unknownKind = KindText(-1);
}

CReportPage::~CReportPage()
{
    Close();
}

bool CReportPage::Create(const QString& path)
{
    m_failed = false;
    m_buffer.resize(0);
    if (!m_file.Open(path, CStdioFileEx::ModeCreate | CStdioFileEx::ModeWrite |
                               CStdioFileEx::ModeUnicode))
        return false;
    m_buffer.reserve(kFlushAt + 4096);
    return true;
}

QString CReportPage::KindText(int kind)
{
    switch (kind) {
    case 0:
        return Text(Strings::IDS_KIND_STORAGE);
    case 1:
        return Text(Strings::IDS_KIND_DISC);
    case 2:
        return Text(Strings::IDS_KIND_FOLDER);
    case 3:
        return Text(Strings::IDS_KIND_FILE);
    default:
        return QStringLiteral("Unknown Type");
    }
}

void CReportPage::Line(QStringView text)
{
    m_buffer += text;
    m_buffer += kLineEnd;
}

void CReportPage::WriteHead(const QString& title)
{
    for (const char* line : kHead)
        Line(QString::fromLatin1(line));
    Line(Format("<title>%s</title>", {Format(Text(Strings::IDS_REPORT_TITLE), {title})}));
    // Names and notes are written as they stand, and a name on a disc can hold markup:
    // the page may run no script and load nothing, so such a name can do no harm.
    Line(QStringLiteral("<meta http-equiv=\"Content-Security-Policy\" content=\"default-src "
                        "'none'; style-src 'unsafe-inline'\" />"));
    for (const char* line : kStyle)
        Line(QString::fromLatin1(line));
    FlushWhenFull();
}

void CReportPage::WriteTableStart(const StorageRecord& storage)
{
    Line(QStringLiteral("<table border=\"1\" cellpadding=\"5\" cellspacing=\"0\" width=\"100%\">"));
    QString caption = QStringLiteral("<caption>") + storage.StorageName;
    if (!storage.StorageNotes.isEmpty())
        caption += Format(" (%s)", {storage.StorageNotes});
    caption += QStringLiteral("</caption>");
    Line(caption);
    Line(QStringLiteral("<thead>"));
    Line(QStringLiteral("<tr>"));
    Line(Format("<th scope=\"col\">%s</th>", {Text(Strings::IDS_COLUMN_NAME)}));
    Line(Format("<th scope=\"col\" class=\"type-header\">%s</th>",
                {Text(Strings::IDS_COLUMN_TYPE)}));
    Line(Format("<th scope=\"col\" class=\"size-header\">%s</th>",
                {Text(Strings::IDS_COLUMN_SIZE)}));
    Line(Format("<th scope=\"col\" class=\"date-header\">%s</th>",
                {Text(Strings::IDS_REPORT_COLUMN_ADDED)}));
    Line(QStringLiteral("</tr>"));
    Line(QStringLiteral("</thead>"));
    Line(QStringLiteral("<tbody>"));
    FlushWhenFull();
}

void CReportPage::WriteRow(const ReportUnit& unit, int depth)
{
    // Six lines: the row's start, its four cells, its end.
    m_buffer += kRowStart;
    for (int level = 1; level < depth; ++level)
        m_buffer += kIndent;
    m_buffer += unit.Name();
    m_buffer += kTypeCell;
    const int kind = unit.Kind;
    m_buffer += kind >= 0 && kind < static_cast<int>(std::size(m_kindTexts)) ? m_kindTexts[kind]
                                                                             : m_unknownKind;
    m_buffer += kSizeCell;
    m_buffer += FormatSize(unit.UnitSize);
    m_buffer += kDateCell;
    if (unit.DateInText())
        m_buffer += unit.TextDate();
    else
        m_buffer += unit.InlineDate();
    m_buffer += kRowEnd;
    FlushWhenFull();
}

void CReportPage::WriteTableEnd()
{
    Line(QStringLiteral("</tbody>"));
    Line(QStringLiteral("</table>"));
    Line(QStringLiteral("<br />"));
    FlushWhenFull();
}

void CReportPage::WriteFoot()
{
    Line(Format("<div class=\"copyright\">%s</div>", {Text(Strings::IDS_REPORT_FOOTER)}));
    Line(QStringLiteral("</body>"));
    m_buffer += QLatin1String("</html>");
}

void CReportPage::FlushWhenFull()
{
    if (m_buffer.size() >= kFlushAt)
        Flush();
}

bool CReportPage::Flush()
{
    if (!m_file.IsOpen())
        return false;
    if (!m_buffer.isEmpty() && !m_file.WriteString(m_buffer))
        m_failed = true;
    m_buffer.resize(0); // keeps the capacity for the next piece
    return !m_failed;
}

bool CReportPage::Close()
{
    if (!m_file.IsOpen())
        return !m_failed;
    Flush();
    if (!m_file.Close())
        m_failed = true;
    return !m_failed;
}
