copy /b a.su + b.su c.su
del a.su
pause
