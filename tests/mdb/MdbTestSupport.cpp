#include "MdbTestSupport.h"

std::vector<std::string> mdbFixtureNames()
{
    return {"empty.mdb", "fixedNumericTestV2000.mdb", "indexTestV2000.mdb",
            "test2V2000.mdb", "testV2000.mdb", "testV2003.mdb"};
}

std::string mdbFixture(const std::string& name)
{
    return std::string(NIMBREL_FIXTURES_DIR) + "/mdb/" + name;
}
