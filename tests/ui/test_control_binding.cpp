// What a control's state does to its widget on a real (offscreen) screen:
// colours that show in the pixels, names with parentheses, visibility.
#include "control_binding.h"

#include <QFrame>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <gtest/gtest.h>

using namespace qel;

namespace {

QRgb CentrePixel(QWidget* w) { return w->grab().toImage().pixel(w->width() / 2, w->height() - 3); }

}  // namespace

// Guards the colour sheet: control names carry parentheses, and a colour must
// reach the pixels of that widget without spilling onto its children.
TEST(ControlBinding, ColoursReachThePixelsOfTheNamedWidgetOnly) {
    QFrame frame;
    frame.setObjectName("Frame36(3)");
    frame.setStyleSheet("font-size: 12px;");  // a widget's own sheet is kept
    auto* layout = new QVBoxLayout(&frame);
    auto* label = new QLabel("x", &frame);
    label->setObjectName("SP2300(2)");
    label->setMinimumSize(60, 30);
    layout->addWidget(label);
    frame.resize(120, 80);
    frame.show();

    ControlSet set;
    set.setBack("Frame36(3)", Color::rgb(51, 153, 0));
    set.setCaption("SP2300(2)", "25.0");
    ControlBinding binding;
    binding.collect(&frame);
    ASSERT_TRUE(binding.apply(set));
    EXPECT_EQ(label->text(), "25.0");
    EXPECT_TRUE(frame.styleSheet().contains("font-size: 12px;"));
    EXPECT_EQ(QColor(frame.grab().toImage().pixel(2, 2)), QColor(51, 153, 0));
    EXPECT_NE(QColor(CentrePixel(label)), QColor(51, 153, 0));  // the child keeps its own look

    set.setBack("SP2300(2)", Color::rgb(255, 0, 0));
    EXPECT_TRUE(binding.apply(set));
    EXPECT_EQ(QColor(CentrePixel(label)), QColor(255, 0, 0));
    EXPECT_FALSE(binding.apply(set));  // nothing moved: nothing to do

    set.setBack("SP2300(2)", Color{});  // unset: back to the style's own look
    binding.apply(set);
    EXPECT_NE(QColor(CentrePixel(label)), QColor(255, 0, 0));
}

// Guards visibility and key state: a hidden control stays hidden when its
// parent shows, and a checkable key shows the value, not its own toggle.
TEST(ControlBinding, VisibilityAndKeyValue) {
    QWidget root;
    auto* key = new QPushButton(&root);
    key->setObjectName("RUN_Stop_Key2000(1)");
    key->setCheckable(true);
    auto* lamp = new QLabel(&root);
    lamp->setObjectName("Status_Lamp2000(7)");
    ControlSet set;
    set.setVisible("Status_Lamp2000(7)", false);
    set.setValue("RUN_Stop_Key2000(1)", true);
    set.setCaption("RUN_Stop_Key2000(1)", "RUN");
    ControlBinding binding;
    binding.collect(&root);
    binding.apply(set);
    root.show();
    EXPECT_FALSE(lamp->isVisible());
    EXPECT_TRUE(key->isChecked());
    EXPECT_EQ(key->text(), "RUN");
    key->click();  // Qt toggles it ...
    binding.apply(set, true);
    EXPECT_TRUE(key->isChecked());  // ... the control's value decides
}
