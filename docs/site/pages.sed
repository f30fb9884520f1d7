# For doxygen: links to files that are not part of the site lead to the source tree, but for other
# pages, which doxygen would look up. Links between pages name the page: doxygen cannot follow a
# file's name in a folder whose path has a blank. A backslash or a quote that stands alone in a cell
# of a table becomes an entity.
s|\[\([^]]*\)\](\.\./[^)]*\.md)|\1|g
s|\[\([^]]*\)\](help/\([a-z_]*\)\.md)|@ref md_docs_help_\2 "\1"|g
s|\[\([^]]*\)\](\([a-z_]*\)\.md)|@ref md_docs_\2 "\1"|g
s|](\.\./\([a-z]\)|](../../../\1|g
s/`\\"`/<code>\&#92;\&quot;<\/code>/
s/| " |/| \&quot; |/
s/| \\ |/| \&#92; |/
