# Makes documentation comments of the headers' plain ones, for Doxygen: each counts, and nothing in
# them is a command, a tag or an entity.
/^ *\(\/\*\|\*\|\/\/\)/ {
  s,\\,\\\\,g
  s,&,\&amp;,g
  s,<,\&lt;,g
  s,>,\&gt;,g
  s,[@#%],\\&,g
}
s,^\( *\)/\*\( \|$\),\1/**\2,
s,^\( *\)// ,\1/// ,
