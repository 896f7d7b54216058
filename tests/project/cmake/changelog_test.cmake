# The packages tell the newest version's changes.
# Use: cmake -Dwork=DIRECTORY -P changelog_test.cmake

if(NOT work)
  message(FATAL_ERROR "use: cmake -Dwork=DIRECTORY -P changelog_test.cmake")
endif()
include("${CMAKE_CURRENT_LIST_DIR}/../../../packaging/VornChangelog.cmake")

function(expect_changes expected changes)
  vorn_newest_changes(found "${changes}")
  if(NOT found STREQUAL expected)
    message(SEND_ERROR "expected '${expected}', found '${found}' in '${changes}'")
  endif()
endfunction()

expect_changes("\n  * One.\n" "# Changes\n\nText; more.\n\n## 0.1.0\n\n- One.\n")
expect_changes("\n  * New;\n    more.\n  * Newer.\n"
  "# Changes\n\n## Unreleased\n\n- New;\n  more.\n- Newer.\n\n## 0.2.0\n\n- Old.\n\n## 0.1.0\n\n- First.\n")
expect_changes("\n  * At once.\n" "## 0.2.0\n- At once.\n## 0.1.0\n- Old.\n")

# What must fail is run apart.
function(expect_failure text changes)
  file(WRITE "${work}/fail.cmake" "include([[${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../../../packaging/VornChangelog.cmake]])
vorn_newest_changes(found [[${changes}]])\n")
  execute_process(COMMAND "${CMAKE_COMMAND}" -P "${work}/fail.cmake"
    RESULT_VARIABLE status ERROR_VARIABLE error OUTPUT_QUIET)
  if(status EQUAL 0 OR NOT error MATCHES "${text}")
    message(SEND_ERROR "'${changes}' should fail with '${text}', not '${error}'")
  endif()
endfunction()

# With the mark of an entry, 78 characters.
string(REPEAT "x" 76 line)
expect_changes("\n  * ${line}\n" "## 0.1.0\n\n- ${line}\n")
expect_failure("tells of no version" "# Changes\n\n- Nothing.\n")
expect_failure("line of more than 78" "## 0.1.0\n\n- ${line}x\n")
