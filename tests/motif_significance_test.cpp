// Motif significance: the random networks' counts do not depend on the thread count and are
// those of the shuffle command's random networks counted one by one; on a loop whose sign
// survives every effect shuffle, the counts and p-values worked out by hand.
#include <gtest/gtest.h>

#include <vector>

#include "derived/motif_significance.h"
#include "model/readers.h"
#include "test_support.h"

namespace tessel {
namespace {

// A negative loop A -> B -> C -> A and a neutral link D - A. Shuffling the effects keeps the
// loop (then negative: "+", "+", "_") exactly when "0" falls on D -> A, one time in four.
TEST(MotifSignificance, EffectShufflesOfOneLoop) {
  const Network net = test::NetworkFromEdges("A B +\nB C +\nC A _\nD A 0\n");
  SignificanceSettings settings;
  settings.kinds = {MotifKind::FeedbackLoop3, MotifKind::Scaffold};
  settings.randomKind = ShuffleKind::ShuffleEffects;
  settings.count = 200;
  settings.seed = 42;
  SingleRank one;
  NullProgress progress;
  settings.threads = 1;
  const auto rows = RandomMotifCounts(net, settings, progress, one);
  settings.threads = 3;
  EXPECT_EQ(RandomMotifCounts(net, settings, progress, one), rows);
  ASSERT_EQ(rows.size(), 200u);

  // Scaffolds first (the motif command's order), then fbl3 total, positive, negative.
  const auto entries = MotifCountEntries(settings.kinds);
  ASSERT_EQ(entries.size(), 4u);
  EXPECT_EQ(entries[0].kind, MotifKind::Scaffold);
  EXPECT_EQ(entries[3].sign, "negative");

  std::size_t intact = 0;
  for (int i = 1; i <= settings.count; ++i) {
    std::mt19937_64 random = NetworkRandom(settings.seed, i);
    const Network shuffled = ReadSigText(SigRowsText(ShuffleEffects(net, random)), "x.sig");
    const MotifResult loops = FindMotifs(shuffled, MotifKind::FeedbackLoop3, progress, 1);
    const std::vector<double> direct = {0, static_cast<double>(loops.total()),
                                        static_cast<double>(loops.positive),
                                        static_cast<double>(loops.negative)};
    EXPECT_EQ(rows[static_cast<std::size_t>(i - 1)], direct) << "network " << i;
    EXPECT_EQ(loops.positive, 0u);
    intact += loops.total();
  }
  EXPECT_GT(intact, 30u);
  EXPECT_LT(intact, 70u);

  const auto compared = CompareMotifCounts(settings.kinds, {0, 1, 0, 1}, rows);
  ASSERT_EQ(compared.size(), 4u);
  const MotifSignificance& total = compared[1];
  EXPECT_EQ(total.atLeast, intact);
  EXPECT_EQ(total.atMost, 200u);
  EXPECT_DOUBLE_EQ(total.pAtLeast, (1.0 + static_cast<double>(intact)) / 201);
  EXPECT_DOUBLE_EQ(total.pAtMost, 1.0);
  EXPECT_DOUBLE_EQ(total.comparison.figures.mean, static_cast<double>(intact) / 200);
  // No scaffold anywhere: every random count equals the network's.
  EXPECT_DOUBLE_EQ(compared[0].pAtLeast, 1.0);
  EXPECT_FALSE(compared[0].comparison.figures.hasZ);
  EXPECT_EQ(FormatP(2.0 / 201), "0.00995");
}

}  // namespace
}  // namespace tessel
