#pragma once

#include <string>
#include <vector>

// The Access-made databases of the shared fixture folder.
std::vector<std::string> mdbFixtureNames();
std::string mdbFixture(const std::string& name);
