// The memory of element and attribute objects: slots of the pool must never
// overlap, must keep what was written into them, and objects may be freed on
// another thread than the one that made them (also after that thread ended).
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <toviktwo/xml/hkxmlnodepool.h>
#include "xml_test_util.h"

namespace {

// Fills a block with a pattern derived from its number.
void Fill(void* p, std::size_t size, unsigned number) {
  auto* bytes = static_cast<unsigned char*>(p);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(number * 31u + i);
}

bool Intact(const void* p, std::size_t size, unsigned number) {
  const auto* bytes = static_cast<const unsigned char*>(p);
  for (std::size_t i = 0; i < size; ++i) {
    if (bytes[i] != static_cast<unsigned char>(number * 31u + i)) return false;
  }
  return true;
}

TEST(XmlNodePool, BlocksOfAllSizesKeepTheirContent) {
  // Sizes around the steps of 16 bytes, up to beyond the largest pooled size.
  const std::vector<std::size_t> sizes = {0, 1, 8, 15, 16, 17, 100, 152, 160, 511, 1000, 1023, 1024, 1025, 5000};
  struct Block {
    void* p;
    std::size_t size;
    unsigned number;
  };
  std::vector<Block> blocks;
  unsigned number = 0;
  for (int round = 0; round < 300; ++round) {
    for (std::size_t size : sizes) {
      void* p = HKXMLPoolAllocate(size);
      ASSERT_NE(p, nullptr);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % alignof(std::max_align_t), 0u) << "size " << size;
      Fill(p, size, number);
      blocks.push_back({p, size, number++});
    }
    // Every third block goes again, so that freed slots are handed out anew.
    if (round % 3 == 2) {
      for (std::size_t i = blocks.size(); i-- > 0;) {
        if (blocks[i].number % 3 == 0) {
          ASSERT_TRUE(Intact(blocks[i].p, blocks[i].size, blocks[i].number));
          HKXMLPoolFree(blocks[i].p, blocks[i].size);
          blocks.erase(blocks.begin() + static_cast<std::ptrdiff_t>(i));
        }
      }
    }
  }
  for (const Block& b : blocks) {
    EXPECT_TRUE(Intact(b.p, b.size, b.number)) << "size " << b.size;
    HKXMLPoolFree(b.p, b.size);
  }
  HKXMLPoolFree(nullptr, 16);  // ignored
}

// An element class much larger than the pooled sizes, and one just above a step.
class BigElement : public HKXMLGenericElement {
 public:
  explicit BigElement(unsigned number) : HKXMLGenericElement("big", true), _number(number) { Fill(_payload.data(), _payload.size(), number); }
  bool intact() const { return Intact(_payload.data(), _payload.size(), _number); }

 private:
  unsigned _number;
  std::array<unsigned char, 3000> _payload;
};

class OddElement : public HKXMLGenericText {
 public:
  explicit OddElement(unsigned number) : HKXMLGenericText("odd" + std::to_string(number)), _number(number) {
    Fill(_payload.data(), _payload.size(), number);
  }
  bool intact() const { return Intact(_payload.data(), _payload.size(), _number); }

 private:
  unsigned _number;
  std::array<unsigned char, 17> _payload;
};

TEST(XmlNodePool, ElementsOfDerivedClassesOfAnySize) {
  auto* root = new HKXMLGenericElement("root", true);
  std::vector<BigElement*> bigs;
  std::vector<OddElement*> odds;
  for (unsigned i = 0; i < 200; ++i) {
    bigs.push_back(new BigElement(i));
    odds.push_back(new OddElement(i));
    *root << bigs.back();
    *bigs.back() << odds.back();
    bigs.back()->ReplaceAttributeContent("n", std::to_string(i));
  }
  for (unsigned i = 0; i < 200; ++i) {
    EXPECT_TRUE(bigs[i]->intact());
    EXPECT_TRUE(odds[i]->intact());
    EXPECT_EQ(odds[i]->GetContent(), "odd" + std::to_string(i));
    EXPECT_EQ(bigs[i]->getAttributeText("n", ""), std::to_string(i));
  }
  delete root;
}

// Trees made on some threads are printed and destroyed on others; the
// makers have ended by then.
TEST(XmlNodePool, TreesMadeAndDestroyedOnDifferentThreads) {
  constexpr int kThreads = 4;
  constexpr int kTrees = 20;
  std::vector<std::vector<HKXMLGenericElement*>> made(kThreads);
  std::vector<std::thread> makers;
  for (int t = 0; t < kThreads; ++t) {
    makers.emplace_back([t, &made] {
      for (int n = 0; n < kTrees; ++n) {
        std::string text = "<list n='" + std::to_string(t) + "'>";
        for (int i = 0; i < 50; ++i) text += "<item>word " + std::to_string(n * 100 + i) + "</item>\n";
        text += "</list>";
        HKDTDElementReaderString reader(text, 0);
        reader.read("xml", false);
        made[static_cast<std::size_t>(t)].push_back(reader.Splitter().releaseTopElement());
      }
    });
  }
  for (std::thread& m : makers) m.join();
  std::vector<std::thread> destroyers;
  std::vector<int> good(kThreads, 0);
  for (int t = 0; t < kThreads; ++t) {
    destroyers.emplace_back([t, &made, &good] {
      // Each thread takes the trees another one made.
      const std::size_t from = static_cast<std::size_t>((t + 1) % kThreads);
      for (std::size_t n = 0; n < made[from].size(); ++n) {
        HKXMLGenericElement* top = made[from][n];
        const std::string printed = xmltest::PrintedChildren(*top);
        std::string expected = "<list n=\"" + std::to_string(from) + "\">";
        for (int i = 0; i < 50; ++i) expected += "<item>word " + std::to_string(static_cast<int>(n) * 100 + i) + "</item>\n";
        expected += "</list>";
        if (printed == expected) ++good[static_cast<std::size_t>(t)];
        delete top;
      }
    });
  }
  for (std::thread& d : destroyers) d.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(good[static_cast<std::size_t>(t)], kTrees);
}

}  // namespace
