<?php
// A PHP page run by php-cgi: a query (GET), a form (POST) and an upload.
$name = isset($_GET['name']) ? $_GET['name'] : 'visitor';
?>
<!DOCTYPE html>
<html>
<head><meta charset="utf-8"><title>PHP</title><link rel="stylesheet" href="/style.css"></head>
<body>
<h1>Hello, <?= htmlspecialchars($name) ?></h1>
<p>Request method: <?= htmlspecialchars($_SERVER['REQUEST_METHOD']) ?></p>
<?php if (isset($_POST['message'])): ?>
<p>You posted: <?= htmlspecialchars($_POST['message']) ?></p>
<?php endif; ?>
<?php if (isset($_FILES['upload']) && $_FILES['upload']['error'] === UPLOAD_ERR_OK): ?>
<p>You uploaded <?= htmlspecialchars($_FILES['upload']['name']) ?>,
  <?= (int)$_FILES['upload']['size'] ?> bytes, md5 <?= md5_file($_FILES['upload']['tmp_name']) ?></p>
<?php endif; ?>
<form method="post" action="hello.php">
  <label>Message <input name="message"></label> <button>post</button>
</form>
<form method="post" action="hello.php" enctype="multipart/form-data">
  <label>File <input type="file" name="upload"></label> <button>upload</button>
</form>
<p><a href="/">back</a></p>
</body>
</html>
