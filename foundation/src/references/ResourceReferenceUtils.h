#pragma once

#include "references/ResourceReference.h"

namespace zel::ResourceReferenceUtils {

/// Whether both name the same resource. Two null pointers do, a null one and another do not.
ZEL_RESOURCE_MANAGER_EXPORT bool compare(const QSharedPointer<ResourceReference> &left,
                                         const QSharedPointer<ResourceReference> &right);

/// The text as a message may show it: what is not printed, or would turn the print around, as
/// "\u{hex}", a text longer than 200 characters cut short.
ZEL_RESOURCE_MANAGER_EXPORT QString printable(const QString &text);

/// Whether the text holds what no reference may hold: control characters or half a character.
ZEL_RESOURCE_MANAGER_EXPORT bool hasControlCharacters(const QString &text);

} // namespace zel::ResourceReferenceUtils
