#include "views/InsertedDiscBar.h"

#include "document/ShelfwiseDoc.h"
#include "drives/DriveSystem.h"
#include "drives/MountWatcher.h"
#include "settings/Settings.h"
#include "views/UnitIcons.h"

#include <QApplication>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>

#include <algorithm>

namespace {

// How often a volume read while a modal dialog is open asks again.
constexpr int kHeldRetryMs = 1000;
constexpr int kIconSize = 22;

QString Quoted(const QString& text)
{
    return QStringLiteral("\"%1\"").arg(text);
}

} // namespace

CInsertedDiscBar::CInsertedDiscBar(CShelfwiseDoc& doc, QWidget* parent)
    : QFrame(parent), m_doc(doc),
      m_watcher(new CMountWatcher(QStringLiteral("/proc/self/mountinfo"), this)),
      m_recogniser(new CInsertedDiscRecogniser(doc.Database(), this)), m_text(new QLabel(this)),
      m_choice(new QComboBox(this)), m_show(new QPushButton(tr("Show"), this)),
      m_update(new QPushButton(tr("Update..."), this)), m_add(new QPushButton(tr("Add..."), this)),
      m_close(new QToolButton(this))
{
    setObjectName(QStringLiteral("insertedDiscBar"));
    setAccessibleName(tr("Inserted disc"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::AlternateBase);

    auto* icon = new QLabel(this);
    icon->setPixmap(CUnitIcons::ThemeIcon("media-optical").pixmap(kIconSize, kIconSize));
    icon->setAccessibleName(tr("Disc"));
    // Labels and names are shown as they are, never as markup.
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    m_text->setObjectName(QStringLiteral("insertedDiscText"));
    m_text->setAccessibleName(tr("Inserted disc"));
    m_choice->setObjectName(QStringLiteral("insertedDiscChoice"));
    m_choice->setAccessibleName(tr("Catalogued disc"));
    m_show->setObjectName(QStringLiteral("insertedDiscShow"));
    m_show->setAccessibleName(tr("Show the catalogued disc"));
    m_update->setObjectName(QStringLiteral("insertedDiscUpdate"));
    m_update->setAccessibleName(tr("Update the catalogued disc"));
    m_add->setObjectName(QStringLiteral("insertedDiscAdd"));
    m_add->setAccessibleName(tr("Add the disc"));
    m_close->setObjectName(QStringLiteral("insertedDiscClose"));
    m_close->setAccessibleName(tr("Close"));
    m_close->setToolTip(tr("Close"));
    m_close->setAutoRaise(true);
    m_close->setIcon(QIcon::fromTheme(QStringLiteral("window-close"),
                                      style()->standardIcon(QStyle::SP_TitleBarCloseButton)));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 3, 3, 3);
    layout->addWidget(icon);
    layout->addWidget(m_text, 1);
    for (QWidget* widget : {static_cast<QWidget*>(m_choice), static_cast<QWidget*>(m_show),
                            static_cast<QWidget*>(m_update), static_cast<QWidget*>(m_add),
                            static_cast<QWidget*>(m_close)})
        layout->addWidget(widget);

    connect(m_close, &QToolButton::clicked, this, &CInsertedDiscBar::Dismiss);
    connect(m_show, &QPushButton::clicked, this, [this] {
        if (const InsertedDisc::Match* match = ChosenMatch())
            emit browseRequested({match->StorageId, match->UnitId}, 0);
    });
    connect(m_update, &QPushButton::clicked, this, [this] {
        if (const InsertedDisc::Match* match = ChosenMatch())
            emit updateRequested(match->UnitId, m_disc.RootPath);
    });
    connect(m_add, &QPushButton::clicked, this, &CInsertedDiscBar::OnAdd);

    connect(m_watcher, &CMountWatcher::volumeAppeared, m_recogniser,
            &CInsertedDiscRecogniser::VolumeAppeared);
    connect(m_watcher, &CMountWatcher::volumeRemoved, this, &CInsertedDiscBar::OnVolumeRemoved);
    connect(m_recogniser, &CInsertedDiscRecogniser::volumeRead, this,
            &CInsertedDiscBar::OnVolumeRead);
    // The units the bar names belong to the catalogue that was open.
    connect(&m_doc, &CShelfwiseDoc::cataloguePathChanged, this, [this] {
        m_recogniser->Clear();
        m_held.clear();
        Dismiss();
    });
    m_heldTimer.setInterval(kHeldRetryMs);
    connect(&m_heldTimer, &QTimer::timeout, this, &CInsertedDiscBar::LookUpHeld);

    hide();
    SetDriveSystem(DriveSystem::Create());
    ApplySettings();
}

CInsertedDiscBar::~CInsertedDiscBar() = default;

void CInsertedDiscBar::SetDriveSystem(std::shared_ptr<DriveSystem> drives)
{
    m_watcher->SetDriveSystem(drives);
    m_recogniser->SetDriveSystem(std::move(drives));
}

void CInsertedDiscBar::ApplySettings()
{
    if (Settings::Instance().RecogniseInsertedDiscs) {
        m_watcher->Start();
        return;
    }
    m_watcher->Stop();
    m_recogniser->Clear();
    m_held.clear();
    m_heldTimer.stop();
    Dismiss();
}

QString CInsertedDiscBar::Text() const
{
    return m_text->text();
}

void CInsertedDiscBar::OnVolumeRead(const QString& rootPath, const VolumeInfo& volume)
{
    if (!Settings::Instance().RecogniseInsertedDiscs)
        return;
    m_held.erase(std::remove_if(m_held.begin(), m_held.end(),
                                [&rootPath](const auto& held) { return held.first == rootPath; }),
                 m_held.end());
    m_held.emplace_back(rootPath, volume);
    LookUpHeld();
}

void CInsertedDiscBar::LookUpHeld()
{
    if (QApplication::activeModalWidget()) {
        m_heldTimer.start();
        return;
    }
    m_heldTimer.stop();
    // Each is shown in turn; the last one read stays.
    const auto held = std::move(m_held);
    m_held.clear();
    for (const auto& [rootPath, volume] : held)
        LookUpAndShow(rootPath, volume);
}

void CInsertedDiscBar::LookUpAndShow(const QString& rootPath, const VolumeInfo& volume)
{
    if (!m_doc.IsLoaded())
        return;
    InsertedDisc disc;
    if (m_doc.Guard([&] { disc = m_recogniser->LookUp(rootPath, volume); }))
        ShowDisc(disc);
}

void CInsertedDiscBar::OnVolumeRemoved(const QString& rootPath)
{
    m_recogniser->VolumeRemoved(rootPath);
    m_held.erase(std::remove_if(m_held.begin(), m_held.end(),
                                [&rootPath](const auto& held) { return held.first == rootPath; }),
                 m_held.end());
    if (m_disc.RootPath == rootPath)
        Dismiss();
}

void CInsertedDiscBar::ShowDisc(const InsertedDisc& disc)
{
    m_disc = disc;
    const QString name = Quoted(disc.Name());
    const bool catalogued = !disc.Matches.empty();
    m_choice->clear();
    if (!catalogued) {
        m_text->setText(tr("%1 is not in the catalogue.").arg(name));
    } else {
        QStringList places;
        for (const InsertedDisc::Match& match : disc.Matches) {
            places << tr("as %1 in %2").arg(Quoted(match.DiscName), Quoted(match.StorageName));
            m_choice->addItem(
                tr("%1 in %2").arg(Quoted(match.DiscName), Quoted(match.StorageName)));
        }
        m_text->setText(tr("%1 is catalogued %2.").arg(name, places.join(tr(" and "))));
    }
    // Several catalogued copies: Show and Update... act on the one chosen.
    m_choice->setVisible(disc.Matches.size() > 1);
    m_show->setVisible(catalogued);
    m_update->setVisible(catalogued);
    m_add->setVisible(!catalogued);
    show();
}

void CInsertedDiscBar::Dismiss()
{
    m_disc = InsertedDisc();
    hide();
}

const InsertedDisc::Match* CInsertedDiscBar::ChosenMatch() const
{
    const int index = m_choice->currentIndex();
    if (m_disc.Matches.empty())
        return nullptr;
    return &m_disc.Matches.at(
        static_cast<size_t>(std::clamp(index, 0, static_cast<int>(m_disc.Matches.size()) - 1)));
}

void CInsertedDiscBar::OnAdd()
{
    const InsertedDisc disc = m_disc;
    emit addRequested(disc.RootPath);
    // After the dialog the disc may be catalogued: the bar says so, unless the volume
    // went meanwhile (ejected after the addition) or the bar was closed.
    if (m_disc.RootPath == disc.RootPath && !disc.RootPath.isEmpty())
        LookUpAndShow(disc.RootPath, disc.Volume);
}
