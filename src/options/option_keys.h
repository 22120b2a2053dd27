#pragma once

namespace panedeck::option_keys {

/// The sub-storage of the user's settings whose sections belong to the option pages.
inline constexpr char storage[] = "propertyPageData";

// Sections.
inline constexpr char general[] = "generalPropPage";
inline constexpr char saving[] = "savingPropPage";
inline constexpr char source_assembly[] = "sourceAssemblyPropPage";

// Keys within them.
inline constexpr char output_destination[] = "consoleAppOutputDestination";
inline constexpr char remove_raw_data[] = "removeCollectorRawData";
inline constexpr char verbose_messages[] = "displayVerboseMessages";
inline constexpr char adb_path[] = "adbPath";
inline constexpr char result_name_template[] = "resultNameTmplV2";
inline constexpr char tab_size[] = "tabSize";
inline constexpr char assembly_style[] = "assemblyStyle";
inline constexpr char cache_sources[] = "cacheSources";

} // namespace panedeck::option_keys
