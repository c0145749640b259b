#include "shapes/vram.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "shapes/storage_backends.h"
#include "tests/support/log_capture.h"

namespace Kelo {
namespace {

using Block = OGLVRAM::HVRAM_Desc;
constexpr unsigned long kSize = 1048576;

// With no GL context there is no extension string, so the manager runs on
// client memory: the allocator's logic with real buffers and no GL.
class VramTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(vram.Init());
    ASSERT_EQ(vram.init, &ram_init) << "expected client memory without a context";
  }
  void TearDown() override { vram.Release(); }

  std::vector<Block> Blocks() const {
    std::vector<Block> out;
    for (const OGLVRAM::Node* node = vram.blocks.head->next; node; node = node->next) {
      out.push_back(node->data);
    }
    return out;
  }
  // Buffer names as indices into the manager's name array.
  unsigned long IndexOf(unsigned long name) const {
    for (unsigned long i = 0; i < vram.bufferCount; ++i) {
      if (vram.buffers[i] == name) return i;
    }
    ADD_FAILURE() << "unknown buffer name " << name;
    return ~0ul;
  }

  OGLVRAM vram;
  Kelo::Support::LogCapture log;
};

void ExpectBlock(const Block& block, unsigned long offset, unsigned long size, bool free) {
  EXPECT_EQ(block.offset, offset);
  EXPECT_EQ(block.size, size);
  EXPECT_EQ(block.free, free);
}

TEST_F(VramTest, StartsWithOneFreeBlockCoveringTheFirstBuffer) {
  ASSERT_EQ(log.Lines().size(), 2u);
  EXPECT_EQ(log.Lines()[0] + log.Lines()[1],
            "[kelo-opengl] Will use vertex arrays  with no storage optimization.\n");
  EXPECT_EQ(vram.bufferSize, kSize);
  EXPECT_EQ(vram.blocks.nodeCount, 2u);
  ASSERT_EQ(Blocks().size(), 1u);
  EXPECT_EQ(Blocks()[0].buffer, vram.buffers[0]);
  ExpectBlock(Blocks()[0], 0, kSize, true);
}

TEST_F(VramTest, SplitsFromTheFrontAndMergesBackIntoTheFirstNode) {
  OGLVRAM::Node* first = vram.Allocate(240);
  OGLVRAM::Node* second = vram.Allocate(120);
  ASSERT_TRUE(first && second);
  auto blocks = Blocks();
  ASSERT_EQ(blocks.size(), 3u);
  ExpectBlock(blocks[0], 0, 240, false);
  ExpectBlock(blocks[1], 240, 120, false);
  ExpectBlock(blocks[2], 360, 1048216, true);

  vram.Deallocate(first);
  blocks = Blocks();
  ASSERT_EQ(blocks.size(), 3u) << "a free block beside a used one does not merge";
  ExpectBlock(blocks[0], 0, 240, true);

  vram.Deallocate(second);
  ASSERT_EQ(Blocks().size(), 1u);
  EXPECT_EQ(vram.blocks.head->next, first) << "the node nearer the front survives";
  ExpectBlock(first->data, 0, kSize, true);
  EXPECT_EQ(vram.blocks.nodeCount, 2u);
  EXPECT_TRUE(log.Lines().size() == 2u) << "nothing logged beyond the back-end choice";
}

TEST_F(VramTest, AnExactFitHandsOutTheFreeNodeItself) {
  OGLVRAM::Node* a = vram.Allocate(100);
  vram.Allocate(50);
  vram.Deallocate(a);
  const unsigned long nodes = vram.blocks.nodeCount;
  EXPECT_EQ(vram.Allocate(100), a);
  EXPECT_EQ(vram.blocks.nodeCount, nodes);
}

TEST_F(VramTest, AWholeBufferRequestFitsExactlyOrTakesANewBuffer) {
  OGLVRAM::Node* whole = vram.Allocate(kSize);
  ASSERT_EQ(whole, vram.blocks.head->next) << "a fresh manager fits it exactly";
  EXPECT_EQ(vram.blocks.nodeCount, 2u);

  OGLVRAM::Node* next = vram.Allocate(kSize);
  ASSERT_NE(next, nullptr);
  EXPECT_EQ(vram.bufferCount, 2u);
  const auto blocks = Blocks();
  ASSERT_EQ(blocks.size(), 3u);
  EXPECT_EQ(IndexOf(blocks[1].buffer), 1u);
  ExpectBlock(blocks[1], 0, kSize, false);
  ExpectBlock(blocks[2], kSize, 0, true);
}

TEST_F(VramTest, ARequestThatFitsNowhereStartsANewBufferDespiteFreeSpaceElsewhere) {
  OGLVRAM::Node* a = vram.Allocate(600000);
  vram.Allocate(400000);
  vram.Deallocate(a);
  OGLVRAM::Node* big = vram.Allocate(700000);
  ASSERT_NE(big, nullptr);
  EXPECT_EQ(IndexOf(big->data.buffer), 1u);
  EXPECT_EQ(big->data.offset, 0u);
  EXPECT_EQ(log.Lines().size(), 2u) << "a new buffer is not worth a warning";
}

TEST_F(VramTest, AnOversizedRequestIsLoggedButStillGetsABlockAtTheStartOfANewBuffer) {
  OGLVRAM::Node* big = vram.Allocate(2000000);
  ASSERT_NE(big, nullptr);
  ASSERT_EQ(log.Lines().size(), 3u);
  EXPECT_EQ(log.Lines()[2], "[kelo-opengl] cannot allocate [2000000] bytes.\n");
  EXPECT_EQ(IndexOf(big->data.buffer), 1u);
  ExpectBlock(big->data, 0, 2000000, false);
  // The free rest has the wrapped size, which no realistic request fits.
  EXPECT_EQ(big->next->data.size, kSize - 2000000ul);
  OGLVRAM::Node* later = vram.Allocate(64);
  EXPECT_EQ(IndexOf(later->data.buffer), 0u);
  vram.Deallocate(big);
  ExpectBlock(big->data, 0, kSize, true);
}

TEST_F(VramTest, ZeroByteRequestsSplitOffTheFrontOrTakeAnEmptyBlock) {
  OGLVRAM::Node* empty = vram.Allocate(0);
  ASSERT_NE(empty, nullptr);
  ExpectBlock(empty->data, 0, 0, false);
  ExpectBlock(empty->next->data, 0, kSize, true);

  vram.Allocate(kSize);  // the whole of the free block
  vram.Allocate(kSize);  // a new buffer, leaving an empty free block behind
  const unsigned long nodes = vram.blocks.nodeCount;
  OGLVRAM::Node* taken = vram.Allocate(0);
  EXPECT_EQ(taken, vram.blocks.tail) << "the empty free block itself is handed out";
  EXPECT_EQ(vram.blocks.nodeCount, nodes);
}

TEST_F(VramTest, FreeBlocksOfDifferentBuffersNeverMerge) {
  OGLVRAM::Node* whole = vram.Allocate(kSize);
  OGLVRAM::Node* next = vram.Allocate(1000);  // buffer 1, offset 0
  vram.Deallocate(whole);
  vram.Deallocate(next);
  const auto blocks = Blocks();
  ASSERT_EQ(blocks.size(), 2u);
  ExpectBlock(blocks[0], 0, kSize, true);
  ExpectBlock(blocks[1], 0, kSize, true);
  EXPECT_NE(blocks[0].buffer, blocks[1].buffer);
}

TEST_F(VramTest, ReleaseEmptiesEverythingButKeepsTheChoice) {
  vram.Allocate(10);
  vram.Allocate(kSize);
  const unsigned long tableSize = RAM_size;
  EXPECT_TRUE(vram.Release());
  EXPECT_EQ(vram.buffers, nullptr);
  EXPECT_EQ(vram.bufferCount, 0u);
  EXPECT_EQ(vram.blocks.nodeCount, 1u);
  EXPECT_EQ(vram.blocks.tail, vram.blocks.head);
  EXPECT_EQ(RAM, nullptr);
  EXPECT_EQ(RAM_size, tableSize) << "the table size is never reset";
  EXPECT_EQ(vram.init, &ram_init);
  EXPECT_EQ(vram.bufferSize, kSize);
  ASSERT_TRUE(vram.Init()) << "a released manager starts again";
  EXPECT_EQ(vram.buffers[0], 0u) << "names are indices from the first new buffer";
  EXPECT_EQ(RAM_size, tableSize + 1) << "the table grows from its old size";
}

// A plain model of first fit over (buffer index, offset, size, free) entries.
struct ModelBlock {
  unsigned long buffer, offset, size;
  bool free;
};

class Model {
public:
  Model() : blocks{{0, 0, kSize, true}} {}

  size_t Allocate(unsigned long bytes) {
    for (size_t i = 0; i < blocks.size(); ++i) {
      ModelBlock& b = blocks[i];
      if (!b.free || b.size < bytes) continue;
      b.free = false;
      if (b.size == bytes) return i;
      const ModelBlock rest{b.buffer, b.offset + bytes, b.size - bytes, true};
      b.size = bytes;
      blocks.insert(blocks.begin() + static_cast<long>(i) + 1, rest);
      return i;
    }
    blocks.push_back({buffers, 0, bytes, false});
    blocks.push_back({buffers, bytes, kSize - bytes, true});
    ++buffers;
    return blocks.size() - 2;
  }

  void Free(size_t i) {
    blocks[i].free = true;
    if (i + 1 < blocks.size() && blocks[i + 1].free && blocks[i + 1].buffer == blocks[i].buffer) {
      blocks[i].size += blocks[i + 1].size;
      blocks.erase(blocks.begin() + static_cast<long>(i) + 1);
    }
    if (i > 0 && blocks[i - 1].free && blocks[i - 1].buffer == blocks[i].buffer) {
      blocks[i - 1].size += blocks[i].size;
      blocks.erase(blocks.begin() + static_cast<long>(i));
    }
  }

  std::vector<ModelBlock> blocks;
  unsigned long buffers = 1;
};

TEST_F(VramTest, RandomAllocationsAndFreesFollowFirstFitAndKeepTheInvariants) {
  std::mt19937 random(20261122);
  Model model;
  std::vector<OGLVRAM::Node*> live;
  for (int step = 0; step < 20000; ++step) {
    const bool allocate = live.empty() || random() % 100 < 55;
    if (allocate) {
      const unsigned long vertices = random() % 8 == 0 ? 0 : 1 + random() % 3000;
      const unsigned long bytes = vertices * (random() % 2 ? 24 : 12);
      OGLVRAM::Node* node = vram.Allocate(bytes);
      ASSERT_NE(node, nullptr);
      const size_t index = model.Allocate(bytes);
      ASSERT_EQ(IndexOf(node->data.buffer), model.blocks[index].buffer) << "step " << step;
      ASSERT_EQ(node->data.offset, model.blocks[index].offset) << "step " << step;
      live.push_back(node);
    } else {
      const size_t pick = random() % live.size();
      OGLVRAM::Node* node = live[pick];
      live[pick] = live.back();
      live.pop_back();
      size_t index = 0;
      for (const OGLVRAM::Node* n = vram.blocks.head->next; n != node; n = n->next) ++index;
      vram.Deallocate(node);
      model.Free(index);
    }

    const auto blocks = Blocks();
    ASSERT_EQ(blocks.size(), model.blocks.size()) << "step " << step;
    ASSERT_EQ(vram.blocks.nodeCount, blocks.size() + 1) << "step " << step;
    unsigned long expectedOffset = 0;
    for (size_t i = 0; i < blocks.size(); ++i) {
      const ModelBlock& m = model.blocks[i];
      ASSERT_EQ(IndexOf(blocks[i].buffer), m.buffer) << "step " << step << " block " << i;
      ASSERT_EQ(blocks[i].offset, m.offset) << "step " << step << " block " << i;
      ASSERT_EQ(blocks[i].size, m.size) << "step " << step << " block " << i;
      ASSERT_EQ(blocks[i].free, m.free) << "step " << step << " block " << i;
      const bool startsBuffer = i == 0 || blocks[i - 1].buffer != blocks[i].buffer;
      if (startsBuffer) expectedOffset = 0;
      ASSERT_EQ(blocks[i].offset, expectedOffset) << "blocks of a buffer touch";
      expectedOffset += blocks[i].size;
      const bool endsBuffer = i + 1 == blocks.size() || blocks[i + 1].buffer != blocks[i].buffer;
      if (endsBuffer) {
        ASSERT_EQ(expectedOffset, kSize) << "blocks cover their buffer";
      }
      if (!startsBuffer) {
        ASSERT_FALSE(blocks[i - 1].free && blocks[i].free) << "step " << step;
      }
    }
  }
  EXPECT_GT(vram.bufferCount, 1u) << "the run should have needed more than one buffer";
}

}  // namespace
}  // namespace Kelo
