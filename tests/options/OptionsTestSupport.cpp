#include "OptionsTestSupport.h"

#include "TestCatalogue.h"

#include "settings/Settings.h"

#include <QLineEdit>
#include <QTreeWidget>

OptionsTest::OptionsTest() : m_savedSettings(Settings::Instance().KeyValues())
{
}

OptionsTest::~OptionsTest()
{
    Settings& settings = Settings::Instance();
    for (const auto& [key, value] : m_savedSettings)
        settings.SetValue(key, value);
    settings.SaveSettings();
}

void OptionsTest::SetUp()
{
    Settings& settings = Settings::Instance();
    for (const auto& [key, value] : Settings(QString()).KeyValues())
        settings.SetValue(key, value);
    settings.SaveSettings();
    ASSERT_TRUE(m_doc.OnOpenDocument(CopySampleCatalogue(m_dir.filePath("sample.db3"))));
}

QStringList ItemTexts(const QTreeWidget& list)
{
    QStringList texts;
    for (int i = 0; i < list.topLevelItemCount(); ++i)
        texts << list.topLevelItem(i)->text(0);
    return texts;
}

QLineEdit* OpenEditor(const QTreeWidget& list)
{
    // Editors that were closed wait hidden for their deletion.
    for (QLineEdit* editor : list.viewport()->findChildren<QLineEdit*>()) {
        if (editor->isVisible())
            return editor;
    }
    return nullptr;
}

void ExpectAccessibleNames(const QWidget& widget)
{
    for (const QWidget* child : widget.findChildren<QWidget*>()) {
        // The tab bar and the standard OK and Cancel are named by Qt from their texts,
        // the edit inside a spin box by the spin box.
        const QWidget* parent = child->parentWidget();
        if (child->inherits("QTabBar") || (parent && (parent->inherits("QDialogButtonBox") ||
                                                      parent->inherits("QAbstractSpinBox"))))
            continue;
        if (child->focusPolicy() & Qt::TabFocus) {
            EXPECT_FALSE(child->accessibleName().isEmpty()) << child->objectName().toStdString();
        }
    }
}
