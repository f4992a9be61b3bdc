{{%AUTOESCAPE context="HTML"}}
<div class="search" id="search-area" hidden>
<form role="search" id="search">
<label for="search-text">Search all conversations</label>
<div class="search-line">
<input type="search" id="search-text" autocomplete="off" spellcheck="false" placeholder="Search (press /)" aria-controls="results">
<button type="button" id="search-close" hidden>Close</button>
</div>
</form>
<p id="search-count" role="status" aria-live="polite"></p>
<section id="results" aria-label="Search results" hidden>
<ol id="hits"></ol>
<button type="button" id="more-hits" hidden>Show more</button>
</section>
</div>
