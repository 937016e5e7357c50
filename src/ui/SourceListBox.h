#pragma once

#include "core/sources/SourceLists.h"

#include <QComboBox>

// Fills a list of sources (each item's data its SourceID) and chooses the
// first, as the window's source lists start.
inline void fillSourceList(QComboBox* list, const QList<SourceLists::ListEntry>& sources)
{
    list->clear();
    for (const SourceLists::ListEntry& source : sources)
        list->addItem(source.name, source.key);
    list->setCurrentIndex(list->count() > 0 ? 0 : -1);
}
