{{%AUTOESCAPE context="HTML"}}
<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; media-src 'self'; base-uri 'none'; form-action 'none'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<meta name="referrer" content="no-referrer">
<title>{{TITLE}}</title>
<link rel="stylesheet" href="{{ROOT}}colours.css">
<link rel="stylesheet" href="{{ROOT}}style.css">
<script src="{{ROOT}}script.js" defer></script>
</head>
