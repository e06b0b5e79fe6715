// HKCanvas: the plot background and the axes' layer under the data.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include <toviktwo/documents/charts/hkcanvas.h>

#include "doc_test_util.h"

using doctest_util::Printed;

TEST(Canvas, DrawsTheBackgroundThenTheAxesUnderPass) {
  HKAxis bottom(HK_AXIS_BOTTOM);
  bottom.SetInUse(true);
  bottom.SetShown(true);
  std::map<int, HKAxis*> axes{{HK_AXIS_BOTTOM, &bottom}};
  HKCanvas canvas(axes);
  canvas.SetColour("ivory");
  HKSize size{100, 50};
  HKSVG_g2 group;
  EXPECT_EQ(canvas.SVGChild(size, group, 0), 1);
  const std::string text = Printed(group);
  EXPECT_EQ(text.rfind("<g><rect fill=\"ivory\" height=\"50\" width=\"100\" x=\"0\" y=\"0\" />", 0), 0u)
      << text;
  EXPECT_EQ(bottom.MajorTickPositions().size(), 7u);
  EXPECT_NE(text.find("stroke-dasharray=\"8,8\""), std::string::npos);
  EXPECT_EQ(text.find("<text"), std::string::npos);
}
