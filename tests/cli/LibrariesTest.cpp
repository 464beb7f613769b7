#include <gtest/gtest.h>

#include "ProgramRun.h"

// Goal: libraries that somebody put into the current folder are never loaded, and those of svselect only from
// where it was built or installed. An empty file in place of a library stops the program.
TEST(Program, LoadsItsLibrariesFromItsOwnFolders) {
  const ProgramFolder folder;
  const std::string draw =
      "$S run --data $E/schools.csv --plan $E/plans/simple-wor.xml --seed 1 --sample s.csv --quiet";
  folder.Run(
      "mkdir ours; touch ours/libsvselect.so ours/libsvhost.so ours/libduckdb.so;"
      "for l in $(ldd $S | awk '{print $1}') libsvselect.so; do case $l in lib*) touch $l;; esac; done");
  EXPECT_GT(folder.Run("ls lib*.so*").out.size(), 50U) << "there is something to load";
  EXPECT_EQ(folder.Run(draw).status, 0);
  EXPECT_EQ(folder.Run("env LD_LIBRARY_PATH=$PWD/ours " + draw).status, 0);
}
