#include "shapes/vram.h"

#include <gtest/gtest.h>

#include <array>
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

// Buffer (an index in order of creation), offset, size, and whether free.
using Block = std::array<unsigned long, 4>;

// "buffer:offset+size", with "*" when free, for each block in list order.
std::string Describe(const std::vector<Block>& blocks) {
  std::string out;
  for (const auto& [buffer, offset, size, free] : blocks) {
    out += (out.empty() ? "" : " ") + std::to_string(buffer) + ":" + std::to_string(offset) + "+" +
           std::to_string(size) + (free ? "*" : "");
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
      out.push_back({index, node->data.offset, node->data.size, node->data.free});
    }
    EXPECT_EQ(vram.blocks.nodeCount, out.size() + 1);
    return out;
  }
  size_t Position(const OGLVRAM::Node* node) const {
    size_t at = 0;
    for (const OGLVRAM::Node* n = vram.blocks.head->next; n != node; n = n->next) ++at;
    return at;
  }

  OGLVRAM vram;
  Support::LogCapture log;
};

// Steps are byte counts to allocate, or ~n to give back the n-th allocation.
TEST_F(VramTest, TheDesignsOutcomes) {
  const std::string oversized = "[kelo-opengl] cannot allocate [2000000] bytes.\n";
  // clang-format off
  const std::tuple<std::vector<unsigned long>, std::string, std::string> cases[] = {
      {{240, 120, ~0ul, ~1ul}, "0:0+1048576*", ""},
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

// First fit over plain blocks, as the design states it; returns the block's place.
struct Model {
  std::vector<Block> blocks{{0, 0, kSize, true}};

  size_t Allocate(unsigned long bytes) {
    for (size_t i = 0; i < blocks.size(); ++i) {
      const auto [buffer, offset, size, free] = blocks[i];
      const int32_t rest = static_cast<int32_t>(static_cast<uint32_t>(size - bytes));
      if (!free || rest < 0) continue;
      blocks[i] = {buffer, offset, rest ? bytes : size, false};
      if (rest) blocks.insert(blocks.begin() + i + 1, {buffer, offset + bytes, unsigned(rest), 1});
      return i;
    }
    const unsigned long buffer = blocks.back()[0] + 1;
    blocks.insert(blocks.end(), {{buffer, 0, bytes, false}, {buffer, bytes, kSize - bytes, true}});
    return blocks.size() - 2;
  }

  void Free(size_t i) {
    blocks[i][3] = true;
    for (size_t keep : {i, i - 1}) {
      if (keep + 1 >= blocks.size() || keep + 1 == 0) continue;
      Block &a = blocks[keep], &b = blocks[keep + 1];
      if (!a[3] || !b[3] || a[0] != b[0]) continue;
      a[2] += b[2];
      blocks.erase(blocks.begin() + keep + 1);
    }
  }
};

TEST_F(VramTest, RandomAllocationsAndFreesFollowFirstFit) {
  std::mt19937 random(20261122);
  Model model;
  std::vector<OGLVRAM::Node*> live;
  for (int step = 0; step < 20000; ++step) {
    if (live.empty() || random() % 100 < 55) {
      const unsigned long small =
          random() % 8 ? (1 + random() % 3000) * (random() % 2 ? 24 : 12) : 0;
      const unsigned long bytes = random() % 200 ? small : random() % 2 ? kOversized : kFitsWrapped;
      live.push_back(vram.Allocate(bytes));
      ASSERT_EQ(Position(live.back()), model.Allocate(bytes)) << "step " << step;
    } else {
      std::swap(live[random() % live.size()], live.back());
      model.Free(Position(live.back()));
      vram.Deallocate(live.back());
      live.pop_back();
    }
    const auto blocks = Blocks();
    ASSERT_TRUE(blocks == model.blocks)
        << "step " << step << ": " << Describe(blocks) << " vs " << Describe(model.blocks);
  }
  EXPECT_GE(vram.bufferCount, 10u) << "the run should reach many buffers";
}

}  // namespace
}  // namespace Kelo
