# For doxygen: links to files that are not part of the site lead to the source tree, but for other
# pages, which doxygen would look up. A backslash or a quote that stands alone in a cell of a table
# becomes an entity.
s|\[\([^]]*\)\](\.\./[^)]*\.md)|\1|g
s|](\.\./\([a-z]\)|](../../../\1|g
s/`\\"`/<code>\&#92;\&quot;<\/code>/
s/| " |/| \&quot; |/
s/| \\ |/| \&#92; |/
