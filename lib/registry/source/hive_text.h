// The text in which a hive is stored: JSON, an object with a format number and, under "keys", an object of
// values for each key by its path:
//
//   {
//       "format": 1,
//       "keys": {
//           "Software\\Orvane\\Atelier\\2.0\\Desktop": {
//               "": "the default value",
//               "InstallationDirectory": "/opt/atelier",
//               "Windows": 3,
//               "Layout": { "hex": "00ff10" }
//           }
//       }
//   }
//
// A key with keys below it needs no entry of its own unless it has values. A path may stand more than once; a
// value may not.
#pragma once

#include <registry/key_node.h>

#include <string>
#include <string_view>

namespace registry {

// Throws Error (kDamagedStore): `file`, the line, what was found and what was expected.
KeyNode ParseHive(std::string_view text, const std::string& file);

std::string WriteHive(const KeyNode& root);

} // namespace registry
