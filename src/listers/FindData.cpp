#include "listers/FindData.h"

QExplicitlySharedDataPointer<const LinkText> LinkText::Make(const QString& text)
{
    return QExplicitlySharedDataPointer<const LinkText>(new LinkText(text));
}
