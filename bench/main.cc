// SPDX-License-Identifier: Apache-2.0

#include <iostream>

#include "bench/table.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  corvo::bench::addYardsticks();
  corvo::bench::addQuestions();
  corvo::bench::addReports();
  corvo::bench::addBatches();
  corvo::bench::addShells();
  corvo::bench::addLists();
  corvo::bench::addUsers();
  corvo::bench::addLoading();
  corvo::bench::addCounts();
  corvo::bench::addBatchCounts();
  corvo::bench::runAll(std::cout);
}
