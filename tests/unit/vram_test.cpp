#include "shapes/vram.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "shapes/storage_backends.h"
#include "tests/support/log_capture.h"

namespace Kelo {
namespace {

constexpr unsigned long kSize = 1048576, kOversized = 2000000;
// Near 2 GiB: fits the wrapped block left behind kOversized, and nothing else.
constexpr unsigned long kFitsWrapped = 0x80000000ul - 900000;

// A block with its buffer given as an index in order of creation.
struct Block {
  unsigned long buffer, offset, size;
  bool free;
  const OGLVRAM::Node* node = nullptr;
};

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
    ASSERT_TRUE(vram.Init() && vram.init == &ram_init) << "client memory without a context";
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
      out.push_back({index, node->data.offset, node->data.size, node->data.free, node});
    }
    EXPECT_EQ(vram.blocks.nodeCount, out.size() + 1);
    return out;
  }

  OGLVRAM vram;
  Support::LogCapture log;
};

// Steps are byte counts to allocate, or ~n to give back the n-th allocation.
TEST_F(VramTest, TheDesignsOutcomes) {
  const std::string oversized = "[kelo-opengl] cannot allocate [2000000] bytes.\n";
  // clang-format off
  const std::tuple<std::vector<unsigned long>, std::string, std::string> cases[] = {
      {{240, 120, ~0ul}, "0:0+240* 0:240+120 0:360+1048216*", ""},
      {{240, 120, ~0ul, ~1ul}, "0:0+1048576*", ""}, {{0}, "0:0+0 0:0+1048576*", ""},
      {{600000, 400000, ~0ul, 700000},
       "0:0+600000* 0:600000+400000 0:1000000+48576* 1:0+700000 1:700000+348576*", ""},
      {{kSize, kSize}, "0:0+1048576 1:0+1048576 1:1048576+0*", ""},
      {{kSize, kSize, 0}, "0:0+1048576 1:0+1048576 1:1048576+0", ""},
      {{kSize, 1000, ~0ul, ~1ul}, "0:0+1048576* 1:0+1048576*", ""},
      {{kOversized, 64},
       "0:0+64 0:64+1048512* 1:0+2000000 1:2000000+18446744073708600192*", oversized},
      {{kOversized, kFitsWrapped, ~0ul},
       "0:0+1048576* 1:0+2000000* 1:2000000+2146583648 1:2148583648+2147432224*",
       oversized + "[kelo-opengl] cannot allocate [2146583648] bytes.\n"},
      // Its remainder in any block under 1 GiB is a positive 32-bit number.
      {{0xC0000000ul}, "0:0+3221225472 0:3221225472+1074790400*",
       "[kelo-opengl] cannot allocate [-1073741824] bytes.\n"}};
  // clang-format on
  for (const auto& [steps, blocks, logged] : cases) {
    std::vector<OGLVRAM::Node*> given;
    for (unsigned long n : steps)
      n > ~16ul ? vram.Deallocate(given[~n]) : given.push_back(vram.Allocate(n));
    EXPECT_EQ(Describe(Blocks()), blocks);
    EXPECT_EQ(std::accumulate(log.Lines().begin(), log.Lines().end(), std::string()), logged);
    const unsigned long tableSize = RAM_size;
    TearDown();
    EXPECT_TRUE(!vram.buffers && !vram.bufferCount && vram.blocks.tail == vram.blocks.head &&
                vram.blocks.nodeCount == 1 && !RAM && RAM_size == tableSize)
        << "Release empties all but the table size of client memory";
    log.Clear();
    SetUp();
  }
}

// First fit over plain blocks, as the design states it.
struct Model {
  std::vector<Block> blocks{{0, 0, kSize, true}};

  size_t Allocate(unsigned long bytes) {
    for (size_t i = 0; i < blocks.size(); ++i) {
      const Block b = blocks[i];
      const int32_t rest = static_cast<int32_t>(static_cast<uint32_t>(b.size - bytes));
      if (!b.free || rest < 0) continue;
      blocks[i] = {b.buffer, b.offset, rest ? bytes : b.size, false, b.node};
      if (rest)
        blocks.insert(blocks.begin() + i + 1, {b.buffer, b.offset + bytes, unsigned(rest), true});
      return i;
    }
    const unsigned long buffer = blocks.back().buffer + 1;
    blocks.insert(blocks.end(), {{buffer, 0, bytes, false}, {buffer, bytes, kSize - bytes, true}});
    return blocks.size() - 2;
  }

  void Free(size_t i) {
    blocks[i].free = true;
    for (size_t keep : {i, i - 1}) {
      if (keep + 1 >= blocks.size() || keep + 1 == 0) continue;
      Block &a = blocks[keep], &b = blocks[keep + 1];
      if (!a.free || !b.free || a.buffer != b.buffer) continue;
      a.size += b.size;
      blocks.erase(blocks.begin() + keep + 1);
    }
  }
};

// Besides matching the model, each block stays in the node that first held it.
TEST_F(VramTest, RandomAllocationsAndFreesFollowFirstFit) {
  std::mt19937 random(20261122);
  Model model;
  std::vector<OGLVRAM::Node*> live;
  std::vector<Block> blocks = Blocks();
  for (int step = 0; step < 20000; ++step) {
    size_t at = 0;
    OGLVRAM::Node* given = nullptr;
    if (live.empty() || random() % 100 < 55) {
      const unsigned long small =
          random() % 8 ? (1 + random() % 3000) * (random() % 2 ? 24 : 12) : 0;
      const unsigned long bytes = random() % 200 ? small : random() % 2 ? kOversized : kFitsWrapped;
      live.push_back(given = vram.Allocate(bytes));
      at = model.Allocate(bytes);
    } else {
      std::swap(live[random() % live.size()], live.back());
      while (blocks[at].node != live.back()) ++at;
      model.Free(at);
      vram.Deallocate(live.back());
      live.pop_back();
    }
    blocks = Blocks();
    ASSERT_EQ(blocks.size(), model.blocks.size()) << "step " << step;
    for (size_t i = 0; i < blocks.size(); ++i) {
      Block &m = model.blocks[i], &b = blocks[i];
      m.node = m.node ? m.node : b.node;
      ASSERT_TRUE(b.buffer == m.buffer && b.offset == m.offset && b.size == m.size &&
                  b.free == m.free && b.node == m.node)
          << "step " << step << ": " << Describe(blocks) << " vs " << Describe(model.blocks);
    }
    ASSERT_TRUE(!given || blocks[at].node == given) << "step " << step << " gave another block";
  }
  EXPECT_GE(vram.bufferCount, 10u) << "the run should reach many buffers";
}

}  // namespace
}  // namespace Kelo
