#include "shapes/vram.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "shapes/storage_backends.h"
#include "tests/support/log_capture.h"

namespace Kelo {
namespace {

constexpr unsigned long kSize = 1048576;
constexpr unsigned long kOversized = 2000000;
// Near 2 GiB: fits the wrapped block left behind kOversized, and nothing else.
constexpr unsigned long kFitsWrapped = 0x80000000ul - 900000;

// A block with its buffer given as an index in order of creation.
struct Block {
  unsigned long buffer, offset, size;
  bool free;
  const OGLVRAM::Node* node = nullptr;
};

std::tuple<unsigned long, unsigned long, unsigned long, bool> Fields(const Block& b) {
  return {b.buffer, b.offset, b.size, b.free};
}

// "buffer:offset+size", with "*" when free, for each block in list order.
std::string Describe(const std::vector<Block>& blocks) {
  std::string out;
  for (const Block& b : blocks) {
    out += (out.empty() ? "" : " ") + std::to_string(b.buffer) + ":" + std::to_string(b.offset) +
           "+" + std::to_string(b.size) + (b.free ? "*" : "");
  }
  return out;
}

// With no GL context there is no extension string, so the manager runs on
// client memory: the allocator's logic with real buffers and no GL.
class VramTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(vram.Init());
    ASSERT_EQ(vram.init, &ram_init) << "expected client memory without a context";
    ASSERT_EQ(log.Lines(), (std::vector<std::string>{"[kelo-opengl] Will use vertex arrays ",
                                                     " with no storage optimization.\n"}));
    log.Clear();
  }
  void TearDown() override { vram.Release(); }

  std::vector<Block> Blocks() const {
    std::vector<Block> out;
    for (const OGLVRAM::Node* node = vram.blocks.head->next; node; node = node->next) {
      unsigned long index = 0;
      while (index < vram.bufferCount && vram.buffers[index] != node->data.buffer) ++index;
      out.push_back({index, node->data.offset, node->data.size, node->data.free});
    }
    return out;
  }

  OGLVRAM vram;
  Kelo::Support::LogCapture log;
};

// Steps are byte counts to allocate, or ~n to give back the n-th allocation.
struct Case {
  const char* name;
  std::vector<unsigned long> steps;
  std::string blocks;
  std::string logged = "";
};

TEST_F(VramTest, TheDesignsOutcomes) {
  const std::string oversized = "[kelo-opengl] cannot allocate [2000000] bytes.\n";
  const std::string nearly2GiB = "[kelo-opengl] cannot allocate [2146583648] bytes.\n";
  const std::string wrapped = "1:2000000+" + std::to_string(kSize - kOversized) + "*";
  // clang-format off
  const std::vector<Case> cases = {
      {"one free block covers the first buffer", {}, "0:0+1048576*"},
      {"blocks split off the front", {240, 120}, "0:0+240 0:240+120 0:360+1048216*"},
      {"freed beside a used block", {240, 120, ~0ul}, "0:0+240* 0:240+120 0:360+1048216*"},
      {"freeing merges three blocks", {240, 120, ~0ul, ~1ul}, "0:0+1048576*"},
      {"what fits nowhere starts a buffer", {600000, 400000, ~0ul, 700000},
       "0:0+600000* 0:600000+400000 0:1000000+48576* 1:0+700000 1:700000+348576*"},
      {"a whole buffer fits exactly", {kSize}, "0:0+1048576"},
      {"a second whole buffer", {kSize, kSize}, "0:0+1048576 1:0+1048576 1:1048576+0*"},
      {"zero bytes split off the front", {0}, "0:0+0 0:0+1048576*"},
      {"zero bytes take an empty block", {kSize, kSize, 0}, "0:0+1048576 1:0+1048576 1:1048576+0"},
      {"buffers never merge", {kSize, 1000, ~0ul, ~1ul}, "0:0+1048576* 1:0+1048576*"},
      {"an oversized block is logged and still given", {kOversized, 64},
       "0:0+64 0:64+1048512* 1:0+2000000 " + wrapped, oversized},
      {"the wrapped block fits a request near 2 GiB", {kOversized, kFitsWrapped, ~0ul},
       "0:0+1048576* 1:0+2000000* 1:2000000+2146583648 1:2148583648+2147432224*",
       oversized + nearly2GiB},
      // Its remainder in any block under 1 GiB is a positive 32-bit number.
      {"a request of 3 GiB takes the first block", {0xC0000000ul},
       "0:0+3221225472 0:3221225472+1074790400*",
       "[kelo-opengl] cannot allocate [-1073741824] bytes.\n"},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<OGLVRAM::Node*> allocations;
    for (unsigned long step : c.steps) {
      if (step > ~16ul) {
        vram.Deallocate(allocations[~step]);
      } else {
        allocations.push_back(vram.Allocate(step));
      }
    }
    EXPECT_EQ(Describe(Blocks()), c.blocks);
    EXPECT_EQ(vram.blocks.nodeCount, Blocks().size() + 1);
    std::string logged;
    for (const std::string& line : log.Lines()) logged += line;
    EXPECT_EQ(logged, c.logged);
    const unsigned long tableSize = RAM_size;
    TearDown();
    EXPECT_TRUE(!vram.buffers && !vram.bufferCount && vram.blocks.tail == vram.blocks.head &&
                vram.blocks.nodeCount == 1 && !RAM && RAM_size == tableSize)
        << "Release empties all but the table size of client memory";
    log.Clear();
    SetUp();
  }
}

// First fit over plain blocks, as the design states it. Each block notes the
// manager's node that holds it, once seen.
struct Model {
  std::vector<Block> blocks{{0, 0, kSize, true}};
  unsigned long buffers = 1;

  size_t Allocate(unsigned long bytes) {
    for (size_t i = 0; i < blocks.size(); ++i) {
      const Block b = blocks[i];
      const int32_t rest = static_cast<int32_t>(static_cast<uint32_t>(b.size - bytes));
      if (!b.free || rest < 0) continue;
      blocks[i].free = false;
      if (rest == 0) return i;
      blocks[i].size = bytes;
      blocks.insert(blocks.begin() + static_cast<long>(i) + 1,
                    {b.buffer, b.offset + bytes, static_cast<unsigned long>(rest), true});
      return i;
    }
    blocks.push_back({buffers, 0, bytes, false});
    blocks.push_back({buffers++, bytes, kSize - bytes, true});
    return blocks.size() - 2;
  }

  void Free(size_t i) {
    blocks[i].free = true;
    for (size_t keep : {i, i - 1}) {
      if (keep + 1 >= blocks.size() || keep + 1 == 0) continue;
      Block &a = blocks[keep], &b = blocks[keep + 1];
      if (!a.free || !b.free || a.buffer != b.buffer) continue;
      a.size += b.size;
      blocks.erase(blocks.begin() + static_cast<long>(keep) + 1);
    }
  }
};

TEST_F(VramTest, RandomAllocationsAndFreesFollowFirstFitAndKeepTheInvariants) {
  std::mt19937 random(20261122);
  Model model;
  std::vector<OGLVRAM::Node*> live;
  auto position = [&](const OGLVRAM::Node* node) {
    size_t index = 0;
    for (const OGLVRAM::Node* n = vram.blocks.head->next; n != node; n = n->next) ++index;
    return index;
  };
  for (int step = 0; step < 20000; ++step) {
    SCOPED_TRACE("step " + std::to_string(step));
    if (live.empty() || random() % 100 < 55) {
      const unsigned long small =
          random() % 8 ? (1 + random() % 3000) * (random() % 2 ? 24 : 12) : 0;
      const unsigned long rare[] = {kOversized, kFitsWrapped};
      const unsigned long bytes = random() % 200 ? small : rare[random() % 2];
      live.push_back(vram.Allocate(bytes));
      ASSERT_EQ(position(live.back()), model.Allocate(bytes));
    } else {
      std::swap(live[random() % live.size()], live.back());
      const size_t index = position(live.back());
      vram.Deallocate(live.back());
      live.pop_back();
      model.Free(index);
    }

    const auto blocks = Blocks();
    ASSERT_EQ(blocks.size(), model.blocks.size());
    ASSERT_EQ(vram.blocks.nodeCount, blocks.size() + 1);
    const OGLVRAM::Node* node = vram.blocks.head->next;
    for (size_t i = 0; i < blocks.size(); ++i, node = node->next) {
      ASSERT_EQ(Fields(blocks[i]), Fields(model.blocks[i])) << "block " << i;
      if (!model.blocks[i].node) model.blocks[i].node = node;
      ASSERT_EQ(node, model.blocks[i].node) << "block " << i << " moved to another node";
      // Sizes past 2 GiB wrap, so blocks touch and cover their buffer modulo 2^32.
      const auto end = static_cast<uint32_t>(blocks[i].offset + blocks[i].size);
      const bool last = i + 1 == blocks.size() || blocks[i + 1].buffer != blocks[i].buffer;
      ASSERT_TRUE(last ? end == kSize : blocks[i + 1].offset == end) << "blocks touch";
      ASSERT_TRUE(last || !blocks[i].free || !blocks[i + 1].free) << "free neighbours merge";
    }
  }
  EXPECT_GE(vram.bufferCount, 10u) << "the run should reach many buffers";
}

}  // namespace
}  // namespace Kelo
