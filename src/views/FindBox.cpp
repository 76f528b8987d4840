#include "views/FindBox.h"

#include "document/ShelfwiseDoc.h"
#include "export/ExportFlow.h"
#include "search/BrowsePath.h"
#include "views/FindModel.h"
#include "views/FindResults.h"

#include <QAbstractItemView>
#include <QAction>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QStackedWidget>
#include <QStatusBar>
#include <QToolBar>

#include <algorithm>
#include <climits>
#include <limits>

namespace {

// How long typing pauses before the words are looked up: a fast typist's gap between
// keys, so a word is looked up once rather than at every letter.
constexpr int kTypingPauseMs = 150;

} // namespace

CFindBox::CFindBox(CShelfwiseDoc& doc, CUnitIcons& icons, QStackedWidget& pane, QStatusBar& bar,
                   QWidget& window)
    : QObject(&window), m_doc(doc), m_pane(pane), m_edit(new QLineEdit),
      m_model(new CFindModel(doc, icons, this)), m_results(new CFindResults(*m_model)),
      m_count(new QLabel), m_focus(new QAction(tr("Find"), &window))
{
    m_edit->setObjectName(QStringLiteral("findBox"));
    m_edit->setPlaceholderText(tr("Find"));
    m_edit->setClearButtonEnabled(true);
    m_edit->setAccessibleName(tr("Find"));
    m_edit->setToolTip(tr("Find units by the words of their names (Ctrl+K)"));
    m_edit->setMinimumWidth(180);
    m_edit->setMaximumWidth(320);
    m_edit->installEventFilter(this);
    m_pane.addWidget(m_results);
    m_count->setAccessibleName(tr("Units found"));
    m_count->hide();
    bar.addPermanentWidget(m_count);

    m_focus->setShortcut(QKeySequence(tr("Ctrl+K")));
    window.addAction(m_focus);
    connect(m_focus, &QAction::triggered, this, [this] {
        m_edit->setFocus(Qt::ShortcutFocusReason);
        m_edit->selectAll();
    });

    m_pause.setSingleShot(true);
    m_pause.setInterval(kTypingPauseMs);
    connect(&m_pause, &QTimer::timeout, this, &CFindBox::FindNow);
    connect(m_edit, &QLineEdit::textChanged, this, &CFindBox::OnTextChanged);
    connect(m_edit, &QLineEdit::returnPressed, this, [this] {
        if (m_pause.isActive() || !IsFinding())
            FindNow();
        BrowseToUnit(m_results->CurrentUnitId());
    });
    connect(m_results, &CFindResults::activated, this, &CFindBox::BrowseToUnit);
    connect(m_results, &CFindResults::leaveRequested, this, [this] { Leave(true); });
    connect(m_results, &CFindResults::browseChosen, this,
            [this] { BrowseToUnit(m_results->CurrentUnitId()); });
    connect(m_results, &CFindResults::exportChosen, this, &CFindBox::ExportResults);
    connect(m_results, &CFindResults::propertiesChosen, this, [this] {
        if (m_results->CurrentUnitId() != 0)
            emit propertiesRequested(m_results->CurrentUnitId());
    });
    // Another catalogue, or the same one read again after a save: the words are looked
    // up in what is open now.
    connect(&m_doc, &CShelfwiseDoc::cataloguePathChanged, this, [this] {
        if (IsFinding())
            FindNow();
    });
}

void CFindBox::AddTo(QToolBar& bar)
{
    // Named as the buttons are, by their actions' texts.
    bar.addWidget(m_edit)->setText(tr("Find"));
}

void CFindBox::FocusOnSlashIn(std::initializer_list<QWidget*> widgets)
{
    for (QWidget* widget : widgets) {
        widget->installEventFilter(this);
        for (QAbstractItemView* view : widget->findChildren<QAbstractItemView*>())
            view->installEventFilter(this);
    }
}

bool CFindBox::IsFinding() const
{
    return m_pane.currentWidget() == m_results;
}

QString CFindBox::CountText() const
{
    return IsFinding() ? m_count->text() : QString();
}

QStringList CFindBox::TypedWords() const
{
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    return m_edit->text().split(blanks, Qt::SkipEmptyParts);
}

void CFindBox::OnTextChanged(const QString& text)
{
    if (text.trimmed().isEmpty()) {
        m_pause.stop();
        if (IsFinding())
            Leave(false);
        return;
    }
    m_pause.start();
}

void CFindBox::FindNow()
{
    m_pause.stop();
    const QStringList words = TypedWords();
    if (words.isEmpty() || !m_doc.IsLoaded())
        return;
    // The results are laid out before they are filled: a view with no size yet would
    // take itself for scrolled to the end and read the next page at once.
    m_pane.setCurrentWidget(m_results);
    m_model->SetWords(words);
    // The same words as the search dialog's count; a count past int's range is not
    // something a catalogue holds.
    const int count = static_cast<int>(std::min<qint64>(m_model->TotalCount(), INT_MAX));
    m_count->setText(tr("%Ln found", nullptr, count));
    m_count->show();
    if (m_model->rowCount() > 0)
        m_results->setCurrentIndex(m_model->index(0, 0));
}

void CFindBox::Leave(bool focusList)
{
    m_pause.stop();
    m_pane.setCurrentIndex(0);
    m_count->hide();
    m_count->clear();
    {
        const QSignalBlocker quiet(m_edit);
        m_edit->clear();
    }
    m_model->Clear();
    if (focusList)
        m_pane.currentWidget()->setFocus(Qt::OtherFocusReason);
}

void CFindBox::BrowseToUnit(int unitId)
{
    if (unitId == 0)
        unitId = m_model->UnitIdAt(0);
    if (unitId == 0)
        return;
    const std::optional<BrowsePath> place = BrowsePaths::Of(m_doc, unitId);
    if (!place)
        return;
    Leave(true);
    emit browseRequested(place->treePath, place->listUnitId);
}

bool CFindBox::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return QObject::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    if (watched == m_edit) {
        if (key->key() == Qt::Key_Escape) {
            Leave(true);
            return true;
        }
        if (key->key() == Qt::Key_Down && IsFinding()) {
            m_results->setFocus(Qt::TabFocusReason);
            return true;
        }
        return false;
    }
    const Qt::KeyboardModifiers commands = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    if (key->text() == QLatin1String("/") && !(key->modifiers() & commands)) {
        m_edit->setFocus(Qt::ShortcutFocusReason);
        m_edit->selectAll();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

void CFindBox::ExportResults()
{
    // Every match, not only the rows fetched so far.
    const QStringList words = m_model->Words();
    const qint64 total = m_model->TotalCount();
    std::vector<int> ids;
    if (total <= 0 || !m_doc.Guard([&] {
            ids = m_doc.Database().FindIdsByName(
                words, static_cast<int>(std::min<qint64>(total, std::numeric_limits<int>::max())),
                0);
        }))
        return;
    if (!ids.empty())
        CExportFlow(m_doc, m_results->window())
            .Ask(ExportScope::Units(std::move(ids)), words.join(QLatin1Char(' ')));
}
