// SPDX-License-Identifier: Apache-2.0
//
// A card as a person sees it: what it is, its four secrets, and what can be done with each now.

#ifndef TOOLS_WINDOW_CARDVIEW_H
#define TOOLS_WINDOW_CARDVIEW_H

#include "tools/window/task.h"

#include <QWidget>

class QGridLayout;

namespace window {

class CCardView : public QWidget {
    Q_OBJECT

public:
    explicit CCardView(const SCard& card);

Q_SIGNALS:
    void Asked(const window::STask& task);

private:
    void AddSecret(QGridLayout& grid, const SCard& card, pindesk::secret eSecret);
};

} // namespace window

#endif
