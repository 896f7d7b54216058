# Run by CPack before it packs what it has installed. Files bring the times of their
# sources along; rpm sets times that are later than the sources' to that, but no earlier
# ones, and a checkout has files of all times.
file(GLOB_RECURSE files LIST_DIRECTORIES FALSE "${CPACK_TEMPORARY_DIRECTORY}/*")
file(TOUCH_NOCREATE ${files})
