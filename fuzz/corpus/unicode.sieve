#!1 Müll €
if header :contains "Subject" "📧 Grüße" { fileinto "Ablage/Müll"; }
