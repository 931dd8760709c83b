// SPDX-License-Identifier: GPL-3.0-or-later
// The orders in which slides are shown, and the files that stand in the shade of a JPEG.
#pragma once

#include "sequence/SlideItem.h"

#include <QString>

#include <functional>

namespace quorvane {

/// A number from 0 to `bound` - 1, each as likely as the other; 0 for a bound below 2.
using RandomBelow = std::function<quint32(quint32 bound)>;

/// The system's random numbers. Thread: any.
quint32 systemRandomBelow(quint32 bound);

/// Deals the items anew: every order is equally likely. Fewer than three items stay as they are.
void shuffleItems(SlideItems& items, const RandomBelow& random);

/// Puts the items in the order that the setting "sort" names: "date", "name" or "url", to the
/// letter. Equal items keep their order. Any other value shuffles.
void sortItems(SlideItems& items, const QString& order, const RandomBelow& random);

/// Takes out, for each JPEG, the first other file of the same base name: a photograph that was shot
/// as a JPEG and in a second format is to be seen once. At most one for each JPEG. \return the URLs
/// of what was taken out, one for each JPEG that had such a file.
std::vector<FileURL> removeCompanions(SlideItems& items);

} // namespace quorvane
