#!/bin/sh
# A CGI program: head lines, an empty line, then the page. The server passes
# the request in the environment (and a POST body on standard input).
printf 'Content-Type: text/html; charset=utf-8\r\n\r\n'
cat <<PAGE
<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>CGI</title><link rel="stylesheet" href="/style.css"></head>
<body>
<h1>Hello from a CGI script</h1>
<p>REQUEST_METHOD: $REQUEST_METHOD</p>
<p>QUERY_STRING: $QUERY_STRING</p>
<p>SCRIPT_FILENAME: $SCRIPT_FILENAME</p>
<p>Time on the server: $(date -u '+%Y-%m-%d %H:%M:%S') UTC</p>
<p><a href="/">back</a></p>
</body></html>
PAGE
