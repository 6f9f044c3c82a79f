#ifndef LUMOMIXCALC_STANDALONE_PANEL_WIDGETS_H
#define LUMOMIXCALC_STANDALONE_PANEL_WIDGETS_H

#include <QtWidgets>
#include <functional>
#include <optional>
#include <string>

// What the widgets of the panel have in common.
namespace lumomixcalc::standalone {

inline QString Text(const std::string& text) { return QString::fromStdString(text); }

// Gives a widget the name that tests find it by, and the one that screen readers say if it differs.
template <typename Widget>
Widget* Named(Widget* widget, const QString& name, const QString& spoken = {}) {
  widget->setObjectName(name);
  widget->setAccessibleName(spoken.isEmpty() ? name : spoken);
  return widget;
}

inline QLabel* NewLabel(const QString& text, QWidget* labelled) {
  auto* const label = new QLabel(text);
  label->setBuddy(labelled);
  return label;
}

inline QComboBox* NewChoice(const QString& name, const QStringList& items) {
  auto* const box = Named(new QComboBox, name);
  box->addItems(items);
  return box;
}

// A layout that uses the whole of its widget.
template <typename Layout>
Layout* NewLayout(QWidget* widget) {
  auto* const layout = new Layout(widget);
  layout->setContentsMargins(0, 0, 0, 0);
  return layout;
}

}  // namespace lumomixcalc::standalone

#endif
