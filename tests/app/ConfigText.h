#pragma once

#include <string>
#include <utility>
#include <vector>

// The attributes of an element, in order.
using Attributes = std::vector<std::pair<std::string, std::string>>;

// A complete UpdateParam section on the device "/no/such/tty".
Attributes completeParam();
// A complete entry: armType 3, armName ARM3, version at 0x10, four bytes of hardware information at
// 0x20, fileName arm3.bin; without the three optional keys.
Attributes completeEntry();

Attributes without(Attributes attributes, const std::string& key);
// Replaces or appends.
Attributes with(Attributes attributes, const std::string& key, const std::string& value);

std::string element(const std::string& name, const Attributes& attributes,
                    const std::string& children = "");

// The whole document.
std::string configText(const Attributes& param, const std::vector<Attributes>& entries);
