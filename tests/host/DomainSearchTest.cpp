#include "ptp4l/DomainSearch.h"

#include <gtest/gtest.h>

#include <map>

namespace host::ptp4l {
namespace {

TEST(DomainSearch, TriesTheKnownDomainInEachRoundAndEveryOtherOneInTurn) {
  DomainSearch search;
  search.found({.domainNumber = 24});
  std::map<int, int> tried;
  for (int round = 0; round < 73; ++round) {
    const auto domains = search.round();
    EXPECT_EQ(domains.size(), DomainSearch::roundSize);
    EXPECT_EQ(domains[0], (Domain{.domainNumber = 24}));
    for (const Domain domain : domains) ++tried[domain.domainNumber * 2 + domain.transportSpecific];
  }
  EXPECT_EQ(tried.size(), 512u);
}

TEST(DomainSearch, WhatWasNotTriedIsTriedNext) {
  DomainSearch search;
  search.found({.domainNumber = 1});
  const auto first = search.round();
  const std::vector<Domain> untried(first.begin() + 3, first.end());
  search.giveBack(untried);
  EXPECT_EQ(search.round()[1], untried[0]);
  search.giveBack(search.round());
  search.giveBack(first);
  EXPECT_EQ(search.round(), first) << "none was tried";
}

}  // namespace
}  // namespace host::ptp4l
