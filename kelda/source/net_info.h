// What a network file holds, in words and as JSON.
#pragma once

#include <networkfile/network_file.h>

#include <string>

std::string DescribeNetwork(const std::string& name, networkfile::File& file, bool json);
