#pragma once

// The vocabulary of a configuration document.
namespace xml_configure_names {

// The root element, and every section below it.
constexpr char kConfigure[] = "Configure";
// The first entry of a section's list.
constexpr char kConfigItem[] = "ConfigItem";
// Reserved; no lookup uses it.
constexpr char kHardwareConfig[] = "HardwareConfig";
// The attribute that identifies a document or a section.
constexpr char kName[] = "name";

}  // namespace xml_configure_names
