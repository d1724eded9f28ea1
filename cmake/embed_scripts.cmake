# cmake -D OUTPUT=file.cpp -D SCRIPTS=a/101.rgs,a/106.rgs -P embed_scripts.cmake
# Writes a source file that holds the scripts' texts with the numbers in their file names.
string(REPLACE "," ";" SCRIPTS "${SCRIPTS}")
set(source "#include \"api/process_services.h\"\n\nnamespace orv {\n\n")
string(APPEND source "std::optional<std::string_view> RegistrationScript(unsigned number) {\n  switch (number) {\n")
foreach(script IN LISTS SCRIPTS)
  get_filename_component(number "${script}" NAME_WE)
  file(READ "${script}" text)
  string(APPEND source "    case ${number}:\n      return R\"rgs(${text})rgs\";\n")
endforeach()
string(APPEND source "    default:\n      return std::nullopt;\n  }\n}\n\n}  // namespace orv\n")
file(WRITE "${OUTPUT}" "${source}")
