# The packages have the changes of the newest version.
# Use: cmake -Dwork=DIRECTORY -P changelog_test.cmake

set(program "${CMAKE_CURRENT_LIST_DIR}/../../../packaging/changelog.awk")

function(expect_changes expected_status expected changes)
  file(WRITE "${work}/CHANGELOG.md" "${changes}")
  execute_process(COMMAND awk -f "${program}" "${work}/CHANGELOG.md"
    RESULT_VARIABLE status OUTPUT_VARIABLE found)
  if(NOT "${status}:${found}" STREQUAL "${expected_status}:${expected}")
    message(SEND_ERROR "expected '${expected}', found '${found}' (status ${status}) in '${changes}'")
  endif()
endfunction()

expect_changes(0 "\n  * One.\n" "# Changes\n\nText; more.\n\n## 0.1.0\n\n- One.\n")
expect_changes(0 "\n  * New;\n    more.\n  * Newer.\n"
  "# Changes\n\n## Unreleased\n\n- New;\n  more.\n- Newer.\n\n## 0.2.0\n\n- Old.\n\n## 0.1.0\n\n- First.\n")
expect_changes(0 "\n  * At once.\n" "## 0.2.0\n- At once.\n## 0.1.0\n- Old.\n")
expect_changes(1 "" "# Changes\n\n- Nothing.\n")
